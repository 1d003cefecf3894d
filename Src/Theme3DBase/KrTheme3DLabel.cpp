#include "KrTheme3DLabel.h"


#include "BsxColor.h"
#include "BsxTime.h"
#include "KrMarkup.h"
#include "KrStringEx.h"
#include "KrTheme3DItemStore.h"
#include "KrThemeRules.h"
#include "KrThemeXml.h"

namespace KRN {

using BSX::BsxUnicodeString;
using BSX::BsxVariant;

namespace {

const wchar_t kSourceFile[] = L"..\\..\\..\\Src\\Theme3DBase\\KrTheme3DLabel";
const wchar_t kFieldPrefix[] = L"Theme3DLabel";
const wchar_t kDefaultNumFormat[] = L"%.10f";
const wchar_t kNullText[] = L"<NULL>";

// Elements of the theme's own part, in document order
const wchar_t kNumFormatElem[] = L"tdx:NumFormat";
const wchar_t kAlongLineElem[] = L"tdx:LabelAlongLine";
const wchar_t kLabelTypeElem[] = L"tdx:LabelType";
const wchar_t kTextStyleElem[] = L"tdx:TextStyle";

// Keyword of each label type; the writer and the reader share it. An unknown type is written
// as the empty text (the fallback is no type of the table) and an unknown keyword is not read.
const ThemeXml::Keyword kLabelTypes[] = {{KrTheme3DLabel::Label3DText, L"Label3DText"},
                                         {KrTheme3DLabel::Label3DSymbol, L"Label3DSymbol"},
                                         {KrTheme3DLabel::Label3DPicture, L"Label3DPicture"},
                                         {KrTheme3DLabel::Label3DTable, L"Label3DTable"}};
const ThemeXml::KeywordTable kLabelTypeTable{kLabelTypes, 4, -1};

const KrLabelNumberFormat& DefaultFloatFormat()
{
    static const KrLabelNumberFormat format = [] {
        KrLabelNumberFormat f;
        f.Parse(kDefaultNumFormat);
        return f;
    }();
    return format;
}

void AppendDecimal(long long value, std::wstring& out)
{
    wchar_t digits[24];
    wchar_t* p = digits + 24;
    // Through the unsigned magnitude so that the smallest 64-bit value has a positive counterpart
    unsigned long long magnitude = value < 0 ? 0ULL - static_cast<unsigned long long>(value) : static_cast<unsigned long long>(value);
    do {
        *--p = static_cast<wchar_t>(L'0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude != 0);
    if (value < 0) *--p = L'-';
    out.append(p, static_cast<std::size_t>(digits + 24 - p));
}

void AppendDate(double date, std::wstring& out)
{
    const BSX::BsxTime time(date);
    if (time.GetHour() == 0 && time.GetMinute() == 0 && time.GetSecond() == 0) {
        // A date without time of day is written unpadded: 2014-3-7
        AppendDecimal(time.GetYear(), out);
        out += L'-';
        AppendDecimal(time.GetMonth(), out);
        out += L'-';
        AppendDecimal(time.GetDay(), out);
    } else {
        out += time.Format(L"%Y-%m-%d %H:%M:%S").Str();
    }
}

} // namespace

KrTheme3DLabel::KrTheme3DLabel()
{
    m_type = Theme3DLabel;
    m_textStyle.SetHalo(true);
    m_textStyle.SetSize(20.0);
    m_textStyle.SetForeColor(BSXRGBA(255, 255, 0, 255));
    KrStringEx faceName;
    faceName.LoadResString(L"IMl003");
    m_textStyle.SetFaceName(faceName.Cstr());
    m_textStyle.SetFixedSize(true);
    m_textStyle.SetAlign(6);
    CompileNumFormat();
}

KrTheme3DLabel::KrTheme3DLabel(const KrTheme3DLabel& other)
    : KrTheme3DSymbol(other), m_expression(other.m_expression), m_textStyle(other.m_textStyle),
      m_labelType(other.m_labelType), m_itemKeys(other.m_itemKeys), m_style(other.m_style),
      m_alongline(other.m_alongline), m_numFormat(other.m_numFormat), m_floatFormat(other.m_floatFormat),
      m_defaultFormatInUse(other.m_defaultFormatInUse)
{
    ItemStore::CopyAll(other.m_items, m_items);
}

KrTheme3DLabel& KrTheme3DLabel::operator=(const KrTheme3DLabel& other)
{
    Swap(other);
    return *this;
}

KrTheme3DLabel::~KrTheme3DLabel() { Release(); }

void KrTheme3DLabel::Swap(const KrTheme3DLabel& other)
{
    KrTheme3D::Swap(other);
    m_labelType = other.m_labelType;
    m_expression = other.m_expression;
    m_textStyle = other.m_textStyle;
    m_alongline = other.m_alongline;
    m_numFormat = other.m_numFormat;
    m_floatFormat = other.m_floatFormat;
    m_defaultFormatInUse = other.m_defaultFormatInUse;
}

void KrTheme3DLabel::Release()
{
    ItemStore::Release(m_items);
}

bool KrTheme3DLabel::Add(const BsxUnicodeString& key, const KrTheme3DItem& item)
{
    if (IsExist(key)) return false;
    ItemStore::Add(m_items, key, item);
    m_itemKeys.Add(key);
    return true;
}

KrTheme3DItem* KrTheme3DLabel::Find(const BsxUnicodeString& key) const
{
    return ItemStore::Find(m_items, key);
}

bool KrTheme3DLabel::IsExist(const BsxUnicodeString& key) const { return Find(key) != nullptr; }

BsxUnicodeString KrTheme3DLabel::GetExpression() const { return m_expression; }
void KrTheme3DLabel::SetExpression(BsxUnicodeString expression) { m_expression = std::move(expression); }

void KrTheme3DLabel::SetLabel3DType(KrLabel3DType type) { m_labelType = type; }
void KrTheme3DLabel::SetLabelType(KrLabel3DType type) { SetLabel3DType(type); }

BsxUnicodeString KrTheme3DLabel::GetNumFormat() const { return m_numFormat; }

void KrTheme3DLabel::SetNumFormat(const BsxUnicodeString& format)
{
    BsxUnicodeString conversion(format);
    conversion.TrimLeft(L"%");
    m_numFormat.Empty();
    if (!conversion.IsEmpty()) {
        // The trial is the same check that formatting applies, so a stored format is always usable
        KrLabelNumberFormat trial;
        if (trial.Parse((L"%" + conversion).Cstr())) m_numFormat = format;
        else ThemeLog::Plain(L"EGi063", kSourceFile, __LINE__);
    }
    CompileNumFormat();
}

void KrTheme3DLabel::CompileNumFormat()
{
    BsxUnicodeString conversion(m_numFormat);
    conversion.TrimLeft(L"%");
    m_defaultFormatInUse = conversion.IsEmpty() || !m_floatFormat.Parse((L"%" + conversion).Cstr());
    // A document may hold a format that SetNumFormat would have refused (a bare "%", "%s", two
    // conversions...). Such a format formats as if none were set, which is what SetNumFormat
    // would have left; the text itself is kept so that it is written back as it was read.
    if (m_defaultFormatInUse) m_floatFormat = DefaultFloatFormat();
}

KrTextStyle* KrTheme3DLabel::GetTextStyle() { return &m_textStyle; }
void KrTheme3DLabel::SetTextStyle(KrTextStyle& style) { m_textStyle = style; }

void KrTheme3DLabel::SetAlonglineText(bool along) { m_alongline = along; }
bool KrTheme3DLabel::IsAlonglineText() { return m_alongline; }

BsxUnicodeString KrTheme3DLabel::GetFieldName(bool alias) const
{
    return ThemeRules::FieldName(kFieldPrefix, m_aliasSuffix, m_expression, alias);
}

BsxUnicodeString KrTheme3DLabel::GetStringFromVariant(const BsxVariant& value)
{
    std::wstring text;
    switch (value.GetType()) {
    case BsxVariant::VT_NULL: text = kNullText; break;
    case BsxVariant::VT_UINT8: AppendDecimal(value.GetUInt8(), text); break;
    case BsxVariant::VT_INT16: AppendDecimal(value.GetInt16(), text); break;
    case BsxVariant::VT_INT32: AppendDecimal(value.GetInt32(), text); break;
    case BsxVariant::VT_INT64: AppendDecimal(value.GetInt64(), text); break;
    case BsxVariant::VT_FLOAT:
        // Floats keep every digit the conversion gives, also under the default format
        m_floatFormat.Append(static_cast<double>(value.GetFloat()), text);
        break;
    case BsxVariant::VT_DOUBLE:
        m_floatFormat.Append(value.GetDouble(), text);
        if (m_defaultFormatInUse) {
            while (!text.empty() && text.back() == L'0') text.pop_back();
            while (!text.empty() && text.back() == L'.') text.pop_back();
        }
        break;
    case BsxVariant::VT_DATE:
    case BsxVariant::VT_TIME:
    case BsxVariant::VT_DATETIME: AppendDate(value.GetDateValue(), text); break;
    case BsxVariant::VT_STRING:
        if (const BsxUnicodeString* s = value.GetString()) text = s->Str();
        break;
    default: break;
    }
    BsxUnicodeString result(std::move(text));
    result.TrimRight();
    if (m_externalValueMode == 1) {
        BsxUnicodeString external;
        if (!GetExternalValue(result, external)) return BsxUnicodeString();
        return external;
    }
    return result;
}

BsxUnicodeString KrTheme3DLabel::ToXML(int version, BsxUnicodeString) const
{
    KrMarkup markup;
    BsxUnicodeString result;
    if (!ThemeXml::BeginWrite(*this, version, markup, result)) return result;
    ThemeXml::AddText(markup, ThemeXml::kFieldExpressionName, m_expression);
    ThemeXml::AddText(markup, kNumFormatElem, m_numFormat);
    ThemeXml::AddBool(markup, kAlongLineElem, m_alongline);
    ThemeXml::AddText(markup, kLabelTypeElem, ThemeXml::KeywordOf(kLabelTypeTable, m_labelType));
    markup.AddSubDoc(m_textStyle.ToXML(version).Cstr(), false, true);
    return markup.GetDoc();
}

bool KrTheme3DLabel::FromXML(const BsxUnicodeString& xml, int version, BsxUnicodeString)
{
    const ThemeXml::ReadStatus status = ThemeXml::BeginRead(*this, m_type, Theme3DLabel, xml, version);
    if (status == ThemeXml::ReadStatus::Unsupported) return true;
    if (status != ThemeXml::ReadStatus::Read) return false;

    KrMarkup markup(xml.Cstr());
    BsxUnicodeString text;
    if (ThemeXml::ReadText(markup, ThemeXml::kFieldExpressionName, text)) m_expression = text;
    if (ThemeXml::ReadText(markup, kNumFormatElem, text)) {
        // Taken as written, without the check of SetNumFormat; CompileNumFormat makes it safe
        m_numFormat = text;
        CompileNumFormat();
    }
    if (ThemeXml::ReadText(markup, kAlongLineElem, text)) ThemeXml::ReadBoolStrict(text, m_alongline);
    int type = 0;
    if (ThemeXml::ReadText(markup, kLabelTypeElem, text) && ThemeXml::FindCode(kLabelTypeTable, text, type))
        m_labelType = static_cast<KrLabel3DType>(type);
    if (markup.FindChildElem(kTextStyleElem)) m_textStyle.FromXML(markup.GetChildSubDoc(), version);
    return true;
}

} // namespace KRN
