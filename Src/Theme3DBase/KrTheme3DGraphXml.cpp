#include "KrTheme3DGraph.h"

#include <utility>

#include "KrConvert.h"
#include "KrMarkup.h"
#include "KrThemeXml.h"

// The graph theme's document: the simple settings from one table, the chart items, the sizes,
// the item text style and the key list.
namespace KRN {

using BSX::BsxUnicodeString;

namespace {
const wchar_t kSourceFile[] = L"..\\..\\..\\Src\\Theme3DBase\\KrTheme3DGraph";
const wchar_t kClassName[] = L"KrTheme3DGraph";

const wchar_t kGraphItemsName[] = L"tdx:GraphItems";
const wchar_t kGraphItemName[] = L"tdx:GraphItem";
const wchar_t kMinSizeName[] = L"tdx:MinSize";
const wchar_t kMaxSizeName[] = L"tdx:MaxSize";
const wchar_t kCxName[] = L"tdx:cx";
const wchar_t kCyName[] = L"tdx:cy";
const wchar_t kItemTextStyleName[] = L"tdx:ItemTextStyle";
const wchar_t kKeyCountName[] = L"tdx:KeyNum";
const wchar_t kKeyPrefix[] = L"tdx:Key";

// Keyword enumerations: the fallback code is written for unknown codes and read for unknown
// keywords
using ThemeXml::CodeOf;
using ThemeXml::Keyword;
using ThemeXml::KeywordOf;
using ThemeXml::KeywordTable;

const Keyword kGraphTypes[] = {{KrTheme3DGraph::GraphBar, L"Bar"},
                               {KrTheme3DGraph::GraphPie, L"Pie"},
                               {KrTheme3DGraph::GraphStackedBar, L"StackedBar"}};
const Keyword kTextFormats[] = {{KrTheme3DGraph::TextPercent, L"Percent"},
                                {KrTheme3DGraph::TextValue, L"Value"},
                                {KrTheme3DGraph::TextCaption, L"Caption"},
                                {KrTheme3DGraph::TextCaptionPercent, L"CaptionPercent"},
                                {KrTheme3DGraph::TextCaptionValue, L"CaptionValue"}};
const Keyword kGraduatedModes[] = {{KrTheme3DGraph::GraduatedConstant, L"Constant"},
                                   {KrTheme3DGraph::GraduatedSquareRoot, L"SquareRoot"},
                                   {KrTheme3DGraph::GraduatedLogarithm, L"Logarithm"}};
const KeywordTable kGraphTypeTable{kGraphTypes, 3, KrTheme3DGraph::GraphPie};
const KeywordTable kTextFormatTable{kTextFormats, 5, KrTheme3DGraph::TextPercent};
const KeywordTable kGraduatedModeTable{kGraduatedModes, 3, KrTheme3DGraph::GraduatedSquareRoot};

// The item text style travels under its own element name; only the element's tags are
// renamed, so a face name that happens to contain the word stays as it is
BsxUnicodeString RenameTextStyle(BsxUnicodeString xml, const wchar_t* from, const wchar_t* to)
{
    xml.Replace((BsxUnicodeString(L"<") + from).Cstr(), (BsxUnicodeString(L"<") + to).Cstr());
    xml.Replace((BsxUnicodeString(L"</") + from).Cstr(), (BsxUnicodeString(L"</") + to).Cstr());
    return xml;
}

} // namespace

// One simple element of the theme's document: the writer and the reader share this table,
// which lists the elements in document order
struct KrTheme3DGraph::XmlElement {
    const wchar_t* name;
    BsxUnicodeString (*write)(const KrTheme3DGraph&);
    void (*read)(KrTheme3DGraph&, const BsxUnicodeString&);
};

const KrTheme3DGraph::XmlElement* KrTheme3DGraph::XmlElements(int& count)
{
    using T = KrTheme3DGraph;
    using S = BsxUnicodeString;
    static const XmlElement elements[] = {
        {L"tdx:GraphType", [](const T& t) { return S(KeywordOf(kGraphTypeTable, t.GetGraphType())); },
         [](T& t, const S& s) { t.SetGraphType(CodeOf(kGraphTypeTable, s)); }},
        {L"tdx:BarWidth", [](const T& t) { return ThemeXml::Real(t.m_barWidth); },
         [](T& t, const S& s) { t.m_barWidth = kratof(s); }},
        {L"tdx:StartAngle", [](const T& t) { return ThemeXml::Real(t.m_startAngle); },
         [](T& t, const S& s) { t.m_startAngle = kratof(s); }},
        {L"tdx:ShowItemText", [](const T& t) { return S(ThemeXml::Bool(t.m_showItemText)); },
         [](T& t, const S& s) { t.m_showItemText = ThemeXml::ReadTrueIsTrue(s); }},
        {L"tdx:ItemTextFormat", [](const T& t) { return S(KeywordOf(kTextFormatTable, t.m_itemTextFormat)); },
         [](T& t, const S& s) { t.m_itemTextFormat = CodeOf(kTextFormatTable, s); }},
        {L"tdx:GraduatedMode", [](const T& t) { return S(KeywordOf(kGraduatedModeTable, t.m_graduatedMode)); },
         [](T& t, const S& s) { t.m_graduatedMode = static_cast<uint8_t>(CodeOf(kGraduatedModeTable, s)); }},
        {L"tdx:MinSum", [](const T& t) { return ThemeXml::Real(t.m_minSum); },
         [](T& t, const S& s) { t.m_minSum = kratof(s); }},
        {L"tdx:MaxSum", [](const T& t) { return ThemeXml::Real(t.m_maxSum); },
         [](T& t, const S& s) { t.m_maxSum = kratof(s); }},
        {L"tdx:SqrtMinSum", [](const T& t) { return ThemeXml::Real(t.m_sqrtMinSum); },
         [](T& t, const S& s) { t.m_sqrtMinSum = kratof(s); }},
        {L"tdx:SqrtMaxSum", [](const T& t) { return ThemeXml::Real(t.m_sqrtMaxSum); },
         [](T& t, const S& s) { t.m_sqrtMaxSum = kratof(s); }},
        {L"tdx:LogMinSum", [](const T& t) { return ThemeXml::Real(t.m_logMinSum); },
         [](T& t, const S& s) { t.m_logMinSum = kratof(s); }},
        {L"tdx:LogMaxSum", [](const T& t) { return ThemeXml::Real(t.m_logMaxSum); },
         [](T& t, const S& s) { t.m_logMaxSum = kratof(s); }},
    };
    count = static_cast<int>(sizeof elements / sizeof elements[0]);
    return elements;
}

// Persistence --------------------------------------------------------------------------------

BsxUnicodeString KrTheme3DGraph::ToXML(int version, BsxUnicodeString) const
{
    int v = ThemeXml::NormaliseVersion(version);
    if (!ThemeXml::IsSupportedVersion(v)) {
        // Other revisions carry the base part only
        BsxUnicodeString base = KrTheme3D::ToXML(v, BsxUnicodeString());
        if (base.IsEmpty()) ThemeLog::Formatted(L"EGg041", kClassName, kSourceFile, __LINE__);
        return base;
    }
    KrMarkup markup;
    BsxUnicodeString result;
    if (!ThemeXml::BeginWrite(*this, v, markup, result, false)) {
        ThemeLog::Formatted(L"EGg041", kClassName, kSourceFile, __LINE__);
        return BsxUnicodeString();
    }
    int count = 0;
    const XmlElement* elements = XmlElements(count);
    for (int i = 0; i < count; ++i) ThemeXml::AddText(markup, elements[i].name, elements[i].write(*this));

    ThemeXml::OpenContainer(markup, kGraphItemsName);
    for (int i = 0; i < m_graph.GetCount(); ++i) markup.AddSubDoc(m_graph.GetItem(i).ToXML(v).Cstr(), false, true);
    markup.OutOfElem();
    for (const auto& size : {std::make_pair(kMinSizeName, &m_minSize), std::make_pair(kMaxSizeName, &m_maxSize)}) {
        ThemeXml::OpenContainer(markup, size.first);
        ThemeXml::AddReal(markup, kCxName, size.second->cx);
        ThemeXml::AddReal(markup, kCyName, size.second->cy);
        markup.OutOfElem();
    }
    markup.AddSubDoc(RenameTextStyle(m_itemTextStyle.ToXML(v), L"tdx:TextStyle", kItemTextStyleName).Cstr(), false, true);
    if (!m_keys.IsEmpty()) {
        ThemeXml::AddInt(markup, kKeyCountName, m_keys.GetSize());
        for (int i = 0; i < m_keys.GetSize(); ++i)
            ThemeXml::AddInt(markup, ThemeXml::NumberedName(kKeyPrefix, i).Cstr(), m_keys[i]);
    }
    return markup.GetDoc();
}

bool KrTheme3DGraph::FromXML(const BsxUnicodeString& xml, int version, BsxUnicodeString)
{
    int v = ThemeXml::NormaliseVersion(version);
    if (v == ThemeXml::kVersion20031212) v = ThemeXml::kVersion20031211;
    // Every revision is read; the base part names no other kind worth refusing
    switch (ThemeXml::BeginRead(*this, m_type, Theme3DGraph, xml, v, false, false)) {
    case ThemeXml::ReadStatus::Read: break;
    case ThemeXml::ReadStatus::Empty:
    case ThemeXml::ReadStatus::BaseFailed:
    default: ThemeLog::Formatted(L"EGg040", kClassName, kSourceFile, __LINE__); return false;
    }
    RemoveAll();
    KrMarkup markup(xml.Cstr());
    markup.ResetChildPos();
    if (v >= ThemeXml::kVersion20090106) {
        int count = 0;
        const XmlElement* elements = XmlElements(count);
        BsxUnicodeString text;
        for (int i = 0; i < count; ++i)
            if (ThemeXml::ReadText(markup, elements[i].name, text)) elements[i].read(*this, text);

        if (markup.FindChildElem(kGraphItemsName) && markup.IntoElem()) {
            // One item carries over from record to record, so a record lacking an element
            // keeps what the previous record gave it
            Kr3DGraphItem item;
            while (markup.FindChildElem(kGraphItemName)) {
                item.FromXML(markup.GetChildSubDoc(), v);
                m_graph.InsertAt(-1, item);
            }
            markup.OutOfElem();
        }
        // The width is taken as written, not recomputed from the height
        for (const auto& size : {std::make_pair(kMinSizeName, &m_minSize), std::make_pair(kMaxSizeName, &m_maxSize)}) {
            if (!markup.FindChildElem(size.first) || !markup.IntoElem()) continue;
            if (ThemeXml::ReadText(markup, kCxName, text)) size.second->cx = kratof(text);
            if (ThemeXml::ReadText(markup, kCyName, text)) size.second->cy = kratof(text);
            markup.OutOfElem();
        }
        if (markup.FindChildElem(kItemTextStyleName)) m_itemTextStyle.FromXML(markup.GetChildSubDoc(), v);
        if (ThemeXml::ReadText(markup, kKeyCountName, text)) {
            const int keyCount = ThemeXml::ClampClaimedCount(kratoi(text), xml);
            m_keys.RemoveAll();
            m_keys.SetSize(keyCount);
            for (const ThemeXml::NumberedChild& key : ThemeXml::ReadNumberedChildren(markup, kKeyPrefix, keyCount))
                m_keys[key.index] = kratoi(key.text);
        }
    }
    SetModifiedFlag(true);
    return true;
}

} // namespace KRN
