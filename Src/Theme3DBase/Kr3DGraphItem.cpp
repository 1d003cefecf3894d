#include "Kr3DGraphItem.h"

#include <algorithm>
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
const wchar_t kFieldExpressionName[] = L"tdx:FieldExpression";
const wchar_t kCaptionName[] = L"tdx:Caption";
const wchar_t kOldStyleName[] = L"tdx:GeoStyle";
const wchar_t kTypeName[] = L"tdx:Type";
const wchar_t kArrayCountName[] = L"tdx:ArrayFieldNum";
const wchar_t kArrayValuePrefix[] = L"tdx:ArrayField";

// Index of a child named exactly "<prefix>%d" for a non-negative %d, or -1
int NumberedIndex(const BsxUnicodeString& name, const wchar_t* prefix)
{
    const std::wstring& s = name.Str();
    const std::wstring p(prefix);
    if (s.size() <= p.size() || s.compare(0, p.size(), p) != 0) return -1;
    const size_t first = p.size();
    // "%d" writes no sign and no leading zero, so "tdx:Key01" is never searched for
    if (s[first] == L'0' && s.size() > first + 1) return -1;
    long long value = 0;
    for (size_t i = first; i < s.size(); ++i) {
        if (s[i] < L'0' || s[i] > L'9') return -1;
        value = value * 10 + (s[i] - L'0');
        if (value > INT_MAX) return -1;
    }
    return static_cast<int>(value);
}
} // namespace

namespace GraphXml {

std::vector<NumberedChild> ReadNumberedChildren(KrMarkup& markup, const wchar_t* prefix, int count)
{
    // Candidates as (index, position among the following children)
    std::vector<std::pair<int, int>> hits;
    std::vector<BsxUnicodeString> texts;
    for (int position = 0; markup.FindChildElem(nullptr); ++position) {
        const int index = NumberedIndex(markup.GetChildTagName(), prefix);
        if (index < 0 || index >= count) continue;
        hits.emplace_back(index, static_cast<int>(texts.size()));
        texts.push_back(markup.GetChildData());
    }
    std::sort(hits.begin(), hits.end());
    // Searching for index 0, 1, ... in turn, each forward from the last hit: an index is found
    // at its first occurrence after the previous hit, or not at all
    std::vector<NumberedChild> result;
    int last = -1;
    for (size_t i = 0; i < hits.size();) {
        const int index = hits[i].first;
        size_t j = i;
        while (j < hits.size() && hits[j].first == index && hits[j].second <= last) ++j;
        if (j < hits.size() && hits[j].first == index) {
            last = hits[j].second;
            result.push_back(NumberedChild{index, texts[static_cast<size_t>(last)]});
        }
        while (i < hits.size() && hits[i].first == index) ++i;
    }
    return result;
}

int ClampClaimedCount(int claimed, const BsxUnicodeString& document)
{
    if (claimed <= 0) return 0;
    return std::min(claimed, document.GetLength());
}

} // namespace GraphXml

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
    ThemeXml::AddText(markup, kFieldExpressionName, FieldExpression);
    ThemeXml::AddText(markup, kCaptionName, Caption);
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
    if (ThemeXml::ReadText(markup, kFieldExpressionName, text)) FieldExpression = text;
    if (ThemeXml::ReadText(markup, kCaptionName, text)) Caption = text;
    ThemeXml::ReadStyle(markup, kOldStyleName, Style, version);
    ThemeXml::ReadStyle(markup, ThemeXml::kStyleName, Style, version);
    if (ThemeXml::ReadText(markup, kTypeName, text)) {
        // The unsigned reading's 32 bits are the type: "4294967295" is -1, and "-1", which is
        // how such a type is written back, reads as 4294967295 again
        const unsigned int type = text.ToUInt(10);
        Type = type > static_cast<unsigned int>(INT_MAX) ? -static_cast<int>(UINT_MAX - type) - 1 : static_cast<int>(type);
    }
    if (ThemeXml::ReadText(markup, kArrayCountName, text)) {
        const int count = GraphXml::ClampClaimedCount(kratoi(text), xml);
        ArrayValues.RemoveAll();
        ArrayValues.SetSize(count);
        for (const GraphXml::NumberedChild& child : GraphXml::ReadNumberedChildren(markup, kArrayValuePrefix, count))
            ArrayValues[child.index] = kratof(child.text);
    }
    return true;
}

} // namespace KRN
