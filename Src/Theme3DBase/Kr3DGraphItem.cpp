#include "Kr3DGraphItem.h"

#include <climits>
#include <utility>

#include "KrConvert.h"
#include "KrThemeXml.h"

namespace KRN {

using BSX::BsxUnicodeString;

namespace {
const wchar_t kSourceFile[] = L"..\\..\\..\\Src\\Theme3DBase\\Kr3DGraphItem";
const wchar_t kClassName[] = L"KrGraphItem";

const wchar_t kItemName[] = L"tdx:GraphItem";
const wchar_t kOldStyleName[] = L"tdx:GeoStyle";
const wchar_t kTypeName[] = L"tdx:Type";
const wchar_t kArrayCountName[] = L"tdx:ArrayFieldNum";
const wchar_t kArrayValuePrefix[] = L"tdx:ArrayField";
} // namespace

Kr3DGraphItem::Kr3DGraphItem() = default;

Kr3DGraphItem::Kr3DGraphItem(const Kr3DGraphItem& other) : Kr3DGraphItem() { *this = other; }

Kr3DGraphItem& Kr3DGraphItem::operator=(const Kr3DGraphItem& other)
{
    if (this == &other) return *this;
    FieldExpression = other.FieldExpression;
    Caption = other.Caption;
    Style = other.Style;
    Type = other.Type;
    // An item without values of its own never wipes the values the target already has
    if (!other.ArrayValues.IsEmpty()) ArrayValues = other.ArrayValues;
    return *this;
}

// A container that grows moves its items into fresh storage, where nothing is to be kept: the
// item goes over whole
Kr3DGraphItem::Kr3DGraphItem(Kr3DGraphItem&& other) noexcept
    : FieldExpression(std::move(other.FieldExpression)), Caption(std::move(other.Caption)),
      Style(std::move(other.Style)), Type(other.Type), ArrayValues(std::move(other.ArrayValues))
{
}

Kr3DGraphItem& Kr3DGraphItem::operator=(Kr3DGraphItem&& other) noexcept
{
    if (this == &other) return *this;
    FieldExpression = std::move(other.FieldExpression);
    Caption = std::move(other.Caption);
    Style = std::move(other.Style);
    Type = other.Type;
    // Assigning a temporary is still assignment: an item without values keeps the target's
    if (!other.ArrayValues.IsEmpty()) ArrayValues = std::move(other.ArrayValues);
    return *this;
}

Kr3DGraphItem::~Kr3DGraphItem() = default;

BsxUnicodeString Kr3DGraphItem::ToXML(int version) const
{
    KrMarkup markup;
    markup.AddElem(kItemName, nullptr, false, false);
    ThemeXml::AddText(markup, ThemeXml::kFieldExpressionName, FieldExpression);
    ThemeXml::AddText(markup, ThemeXml::kCaptionName, Caption);
    ThemeXml::AddStyle(markup, Style, version, nullptr);
    ThemeXml::AddInt(markup, kTypeName, Type);
    if (Type == ArrayItem && !ArrayValues.IsEmpty()) {
        ThemeXml::AddInt(markup, kArrayCountName, ArrayValues.GetSize());
        const BsxUnicodeString prefix(kArrayValuePrefix);
        for (int i = 0; i < ArrayValues.GetSize(); ++i)
            ThemeXml::AddText(markup, (prefix + ThemeXml::Int(i)).Cstr(), ThemeXml::FixedReal(ArrayValues[i]));
    }
    return markup.GetDoc();
}

bool Kr3DGraphItem::FromXML(const BsxUnicodeString& xml, int version)
{
    version = ThemeXml::NormaliseVersion(version);
    if (version == ThemeXml::kVersion20031212) version = ThemeXml::kVersion20031211;
    if (xml.IsEmpty()) {
        ThemeLog::Formatted(L"EGg040", kClassName, kSourceFile, __LINE__);
        return false;
    }
    KrMarkup markup(xml.Cstr());
    markup.ResetChildPos();
    if (!markup.FindElem(kItemName)) {
        ThemeLog::Formatted(L"EGg040", kClassName, kSourceFile, __LINE__);
        return false;
    }
    BsxUnicodeString text;
    if (ThemeXml::ReadText(markup, ThemeXml::kFieldExpressionName, text)) FieldExpression = text;
    if (ThemeXml::ReadText(markup, ThemeXml::kCaptionName, text)) Caption = text;
    ThemeXml::ReadStyle(markup, kOldStyleName, Style, version);
    ThemeXml::ReadStyle(markup, ThemeXml::kStyleName, Style, version);
    if (ThemeXml::ReadText(markup, kTypeName, text)) {
        // The unsigned reading's 32 bits are the type: "4294967295" is -1, and "-1", which is
        // how such a type is written back, reads as 4294967295 again
        const unsigned int type = text.ToUInt(10);
        Type = type > static_cast<unsigned int>(INT_MAX) ? -static_cast<int>(UINT_MAX - type) - 1 : static_cast<int>(type);
    }
    if (ThemeXml::ReadText(markup, kArrayCountName, text)) {
        const int count = ThemeXml::ClampClaimedCount(kratoi(text), xml);
        ArrayValues.RemoveAll();
        ArrayValues.SetSize(count);
        for (const ThemeXml::NumberedChild& child : ThemeXml::ReadNumberedChildren(markup, kArrayValuePrefix, count))
            ArrayValues[child.index] = kratof(child.text);
    }
    return true;
}

} // namespace KRN
