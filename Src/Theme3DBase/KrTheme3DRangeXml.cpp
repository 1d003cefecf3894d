#include "KrConvert.h"
#include "KrMarkup.h"
#include "KrStyle.h"
#include "KrTheme3DRange.h"
#include "KrThemeXml.h"

namespace KRN {

using BSX::BsxUnicodeString;

namespace {

// Element and attribute names, shared by the writer and the reader
constexpr const wchar_t* kMethod = L"tdx:Range3DMethod";
constexpr const wchar_t* kItems = L"tdx:RangeItems";
constexpr const wchar_t* kDescending = L"tdx:Descending";
constexpr const wchar_t* kItem = L"tdx:RangeItem";
constexpr const wchar_t* kRangeValue = L"tdx:RangeValue";

// The break a range text starts from: "a<=X<b" gives a, "X>=a" gives a, "X<b" gives none
bool BreakOfRangeText(const BsxUnicodeString& text, double& value)
{
    BsxUnicodeString number;
    const int lowerEnd = text.Find(L"<=");
    if (lowerEnd >= 1) {
        number = text.Left(lowerEnd);
    } else {
        const int atLeast = text.Find(L">=");
        if (atLeast < 1) return false;
        number = text.Mid(atLeast + 2);
    }
    number.TrimLeft();
    number.TrimRight();
    if (number.IsEmpty()) return false;
    value = number.ToDouble();
    return true;
}

} // namespace

BsxUnicodeString KrTheme3DRange::RangeText(int index) const
{
    const int n = Values.GetSize();
    if (n < 1) return BsxUnicodeString();
    BsxUnicodeString text;
    if (index <= 0) {
        text = BsxUnicodeString(Descending ? L"X>=" : L"X<") + ThemeXml::Real(Values[0]);
    } else if (index >= n) {
        text = BsxUnicodeString(Descending ? L"X<" : L"X>=") + ThemeXml::Real(Values[n - 1]);
    } else {
        const double low = Descending ? Values[index] : Values[index - 1];
        const double high = Descending ? Values[index - 1] : Values[index];
        text = ThemeXml::Real(low) + L"<=X<" + ThemeXml::Real(high);
    }
    return text;
}

BsxUnicodeString KrTheme3DRange::ToXML(int version, BsxUnicodeString path) const
{
    KrMarkup markup;
    BsxUnicodeString result;
    if (!ThemeXml::BeginWrite(*this, version, markup, result)) return result;

    ThemeXml::AddText(markup, ThemeXml::kFieldExpressionName, Expression);
    ThemeXml::AddInt(markup, kMethod, static_cast<int>(ClassType));
    markup.AddElem(kItems, nullptr, false, true);
    markup.SetAttrib(KrMarkup::MNT_CHILD, kDescending, ThemeXml::Bool(Descending));
    markup.IntoElem();
    const KrTheme3DItem none;
    for (int i = 0; i < GetCount(); ++i) {
        const KrTheme3DItem* stored = Items[i];
        const KrTheme3DItem& item = stored ? *stored : none;
        ThemeXml::OpenContainer(markup, kItem);
        ThemeXml::AddText(markup, kRangeValue, RangeText(i));
        ThemeXml::AddItemRecord(markup, item, version, path);
        markup.OutOfElem();
    }
    markup.OutOfElem();
    return markup.GetDoc();
}

bool KrTheme3DRange::FromXML(const BsxUnicodeString& xml, int version, BsxUnicodeString path)
{
    if (ThemeXml::BeginRead(*this, m_type, Theme3DRange, xml, version) != ThemeXml::ReadStatus::Read) return false;

    RemoveAll();
    Descending = false;
    KrMarkup markup(xml.Cstr());
    BsxUnicodeString text;
    if (ThemeXml::ReadText(markup, ThemeXml::kFieldExpressionName, text)) SetExpression(text);
    if (ThemeXml::ReadText(markup, kMethod, text)) ClassType = static_cast<KrClass3DType>(kratoi(text));
    if (!markup.FindChildElem(kItems)) return true;
    Descending = ThemeXml::ReadTrueIsTrue(markup.GetChildAttrib(kDescending));
    markup.IntoElem();

    // One working item serves both passes, so that a field an entry leaves out keeps the
    // previous entry's value
    KrTheme3DItem working;

    // The breaks, from the lower bound of each range text
    while (markup.FindChildElem(kItem)) {
        markup.IntoElem();
        if (ThemeXml::ReadText(markup, kRangeValue, text) && !text.IsEmpty()) {
            double value = 0.0;
            if (BreakOfRangeText(text, value)) Add(value, working);
        }
        markup.OutOfElem();
    }

    // The items, entry i of the document filling item i
    markup.ResetChildPos();
    const int count = GetCount();
    for (int i = 0; i < count && markup.FindChildElem(kItem); ++i) {
        markup.IntoElem();
        ThemeXml::ReadItemRecord(markup, working, version, path);
        SetAt(i, working);
        markup.OutOfElem();
    }
    markup.OutOfElem();
    return true;
}

} // namespace KRN
