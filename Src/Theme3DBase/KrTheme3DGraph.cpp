#include "KrTheme3DGraph.h"

#include <algorithm>
#include <utility>

#include "KrConvert.h"
#include "KrMarkup.h"
#include "KrThemeXml.h"

namespace KRN {

using BSX::BsxArray;
using BSX::BsxUnicodeString;

namespace {
const wchar_t kSourceFile[] = L"..\\..\\..\\Src\\Theme3DBase\\KrTheme3DGraph";
const wchar_t kClassName[] = L"KrTheme3DGraph";
const wchar_t kFieldPrefix[] = L"ThemeGraph";
const double kSqrt2 = 1.4142135623730951;

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
struct Keyword {
    int code;
    const wchar_t* name;
};
struct KeywordTable {
    const Keyword* entries;
    int count;
    int fallback;
};

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

const wchar_t* KeywordOf(const KeywordTable& table, int code)
{
    const wchar_t* fallback = L"";
    for (int i = 0; i < table.count; ++i) {
        if (table.entries[i].code == code) return table.entries[i].name;
        if (table.entries[i].code == table.fallback) fallback = table.entries[i].name;
    }
    return fallback;
}

int CodeOf(const KeywordTable& table, const BsxUnicodeString& text)
{
    for (int i = 0; i < table.count; ++i)
        if (text.CompareNoCase(table.entries[i].name) == 0) return table.entries[i].code;
    return table.fallback;
}

// The item text style travels under its own element name; only the element's tags are
// renamed, so a face name that happens to contain the word stays as it is
BsxUnicodeString RenameTextStyle(BsxUnicodeString xml, const wchar_t* from, const wchar_t* to)
{
    xml.Replace((BsxUnicodeString(L"<") + from).Cstr(), (BsxUnicodeString(L"<") + to).Cstr());
    xml.Replace((BsxUnicodeString(L"</") + from).Cstr(), (BsxUnicodeString(L"</") + to).Cstr());
    return xml;
}

// Inserts count values before min(index, size) of target; a negative index appends
template <class T>
void InsertValues(BsxArray<T>& target, int index, const T* values, int count)
{
    if (!values || count <= 0) return;
    if (index < 0 || index > target.GetSize()) index = target.GetSize();
    BsxArray<T> merged;
    merged.Reserve(target.GetSize() + count);
    for (int i = 0; i < index; ++i) merged.Add(target[i]);
    for (int i = 0; i < count; ++i) merged.Add(values[i]);
    for (int i = index; i < target.GetSize(); ++i) merged.Add(target[i]);
    target = std::move(merged);
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

KrTheme3DGraph::KrTheme3DGraph()
{
    m_type = Theme3DGraph;
    m_itemTextStyle.SetForeColor(BSXRGB(255, 255, 255));
    m_itemTextStyle.SetAlign(7);
    m_itemTextStyle.SetFixedSize(true);
    m_itemTextStyle.SetHeight(8.0);
}

KrTheme3DGraph::KrTheme3DGraph(const KrTheme3DGraph& other) = default;

KrTheme3DGraph& KrTheme3DGraph::operator=(const KrTheme3DGraph& other)
{
    Swap(other);
    return *this;
}

KrTheme3DGraph::~KrTheme3DGraph() = default;

void KrTheme3DGraph::Swap(const KrTheme3DGraph& other)
{
    // Emptying first would lose the items that are about to be copied back
    if (this == &other) return;
    RemoveAll();
    KrTheme3D::Swap(other);
    m_graph = other.m_graph;
    m_barWidth = other.m_barWidth;
    m_maxSum = other.m_maxSum;
    m_minSum = other.m_minSum;
    m_sqrtMaxSum = other.m_sqrtMaxSum;
    m_sqrtMinSum = other.m_sqrtMinSum;
    m_logMaxSum = other.m_logMaxSum;
    m_logMinSum = other.m_logMinSum;
    m_minSize = other.m_minSize;
    m_maxSize = other.m_maxSize;
    m_barSpacingDegrees = other.m_barSpacingDegrees;
    m_graduatedMode = other.m_graduatedMode;
    m_showItemText = other.m_showItemText;
    m_itemTextStyle = other.m_itemTextStyle;
    m_itemTextFormat = other.m_itemTextFormat;
    m_keys = other.m_keys;
    m_startAngle = other.m_startAngle;
    // The base state just copied carries the other theme's flag; this theme has changed
    SetModifiedFlag(true);
}

BsxUnicodeString KrTheme3DGraph::GetFieldName(bool) const { return BsxUnicodeString(kFieldPrefix) + m_aliasSuffix; }

bool KrTheme3DGraph::GetFieldName(BsxArray<BsxUnicodeString>& fields) const
{
    const int before = fields.GetSize();
    const BsxUnicodeString alias = GetFieldName(true);
    BsxUnicodeString field;
    for (int i = 0; i < GetCountForUpdate(); ++i) {
        const BsxUnicodeString expression = GetExpressionAtForUpdate(i);
        if (expression.IsEmpty()) continue;
        field.Format(L"%s as %s%d", expression.Cstr(), alias.Cstr(), i + 1);
        fields.Add(field);
    }
    return fields.GetSize() > before;
}

bool KrTheme3DGraph::GetThemeQueryDef(BsxArray<BsxUnicodeString>& fields, bool alias)
{
    if (alias) return GetFieldName(fields);
    const BsxUnicodeString name = GetFieldName(true);
    BsxUnicodeString number;
    for (int i = 1; i <= GetCountForUpdate(); ++i) {
        NumberToString(i, number);
        fields.Add(name + number);
    }
    return true;
}

int KrTheme3DGraph::GetThemeGraphItemType(int index) const { return m_update.GetItem(index).Type; }

void KrTheme3DGraph::GetThemeGraphValues(double& value, int item, int key)
{
    int position = -1;
    for (int i = 0; i < m_keys.GetSize(); ++i) {
        if (m_keys[i] == key) {
            position = i;
            break;
        }
    }
    const BsxArray<double>& values = m_graph.GetItem(item).ArrayValues;
    value = (position >= 0 && position < values.GetSize()) ? values[position] : 0.0;
}

void KrTheme3DGraph::CalculateGraphProperty(double) {}

void KrTheme3DGraph::PrepareTheme()
{
    m_prepared = m_graph;
    SetNeedUpdate(true);
}

void KrTheme3DGraph::UpdateTheme()
{
    m_update = m_prepared;
    SetNeedUpdate(false);
}

// Items ------------------------------------------------------------------------------------

int KrTheme3DGraph::Add(const BsxUnicodeString& expression)
{
    SetModifiedFlag(true);
    return m_graph.Add(expression);
}

int KrTheme3DGraph::AddArrayField(BsxUnicodeString caption, const BsxArray<double>& values)
{
    SetModifiedFlag(true);
    Kr3DGraphItem item;
    item.Caption = std::move(caption);
    item.Type = Kr3DGraphItem::ArrayItem;
    item.ArrayValues = values;
    const int index = m_graph.GetCount();
    m_graph.InsertAt(index, std::move(item));
    return index;
}

void KrTheme3DGraph::Insert(int index, const Kr3DGraphItem& item) { m_graph.InsertAt(index, item); }

int KrTheme3DGraph::RemoveAt(int index) { return m_graph.RemoveAt(index, 1); }

void KrTheme3DGraph::RemoveAll()
{
    m_graph.RemoveAll();
    SetModifiedFlag(true);
}

bool KrTheme3DGraph::ExchangeItem(int first, int second)
{
    if (first < 0 || first >= GetCount() || second < 0 || second >= GetCount()) return false;
    // Plain item assignment both ways: an item without array values takes the other's
    const Kr3DGraphItem copy = m_graph.GetItem(first);
    m_graph.GetItemAt(first) = m_graph.GetItem(second);
    m_graph.GetItemAt(second) = copy;
    return true;
}

int KrTheme3DGraph::IndexOf(const BsxUnicodeString& expression)
{
    for (int i = 0; i < GetCount(); ++i)
        if (m_graph.GetItem(i).FieldExpression.CompareNoCase(expression) == 0) return i;
    return -1;
}

void KrTheme3DGraph::SetCaptionAt(int index, const BsxUnicodeString& caption, const BsxArray<double>& values)
{
    Kr3DGraphItem& item = m_graph.GetItemAt(index);
    item.Caption = caption;
    item.Type = Kr3DGraphItem::ArrayItem;
    item.ArrayValues = values;
}

const KrStyle& KrTheme3DGraph::GetStyleAt(int index)
{
    const KrStyle& style = m_graph.GetStyleAt(index);
    SetModifiedFlag(true);
    return style;
}

void KrTheme3DGraph::SetStyleAt(int index, const KrStyle& style)
{
    m_graph.SetStyleAt(index, style);
    SetModifiedFlag(true);
}

void KrTheme3DGraph::SetGraphType(int type)
{
    m_graph.SetGraphType(type);
    SetModifiedFlag(true);
}

// Array items by caption ---------------------------------------------------------------------

int KrTheme3DGraph::FindArrayField(const BsxUnicodeString& caption) const
{
    for (int i = 0; i < GetCount(); ++i)
        if (m_graph.GetItem(i).Caption == caption) return i;
    return -1;
}

void KrTheme3DGraph::InsertArrayFieldAt(BsxUnicodeString caption, int index, const BsxArray<double>& values)
{
    InsertArrayFieldAt(std::move(caption), index, values.GetData(), values.GetSize());
}

void KrTheme3DGraph::InsertArrayFieldAt(BsxUnicodeString caption, int index, const double* values, int count)
{
    const int found = FindArrayField(caption);
    if (found >= 0) {
        SetModifiedFlag(true);
        InsertValues(m_graph.GetItemAt(found).ArrayValues, index, values, count);
        return;
    }
    Kr3DGraphItem item;
    item.Caption = std::move(caption);
    item.Type = Kr3DGraphItem::ArrayItem;
    InsertValues(item.ArrayValues, 0, values, count);
    m_graph.InsertAt(index, item);
}

bool KrTheme3DGraph::RemoveArrayField(BsxUnicodeString caption)
{
    const int found = FindArrayField(caption);
    if (found < 0) return false;
    SetModifiedFlag(true);
    m_graph.RemoveAt(found, 1);
    return true;
}

void KrTheme3DGraph::RemoveArrayFieldAt(BsxUnicodeString caption, int index, int count)
{
    const int found = FindArrayField(caption);
    if (found < 0) return;
    SetModifiedFlag(true);
    m_graph.GetItemAt(found).ArrayValues.RemoveAt(index, count);
}

// Keys ---------------------------------------------------------------------------------------

void KrTheme3DGraph::SetJoinArrayField(BsxArray<int> keys)
{
    m_keys = std::move(keys);
    SetModifiedFlag(true);
}

void KrTheme3DGraph::InsertJoinArrayFieldAt(int index, const BsxArray<int>& keys)
{
    // keys may be the key list itself; InsertValues copies before it replaces
    InsertValues(m_keys, index, keys.GetData(), keys.GetSize());
    SetModifiedFlag(true);
}

void KrTheme3DGraph::InsertJoinArrayFieldAt(int index, const int* keys, int count)
{
    InsertValues(m_keys, index, keys, count);
    SetModifiedFlag(true);
}

int KrTheme3DGraph::RemoveJoinArrayFieldAt(int index, int count)
{
    SetModifiedFlag(true);
    if (index < 0 || index >= m_keys.GetSize() || count <= 0) return 0;
    const int removed = std::min(m_keys.GetSize() - index, count);
    m_keys.RemoveAt(index, removed);
    return removed;
}

// Sizes --------------------------------------------------------------------------------------

void KrTheme3DGraph::SetMinSumSize(double size)
{
    m_minSize = BSX::BsxSize2D(size * kSqrt2, size);
    SetModifiedFlag(true);
}

void KrTheme3DGraph::SetMaxSumSize(double size)
{
    m_maxSize = BSX::BsxSize2D(size * kSqrt2, size);
    SetModifiedFlag(true);
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
        const BsxUnicodeString prefix(kKeyPrefix);
        for (int i = 0; i < m_keys.GetSize(); ++i)
            ThemeXml::AddInt(markup, (prefix + ThemeXml::Int(i)).Cstr(), m_keys[i]);
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
            const int keyCount = GraphXml::ClampClaimedCount(kratoi(text), xml);
            m_keys.RemoveAll();
            m_keys.SetSize(keyCount);
            for (const GraphXml::NumberedChild& key : GraphXml::ReadNumberedChildren(markup, kKeyPrefix, keyCount))
                m_keys[key.index] = kratoi(key.text);
        }
    }
    SetModifiedFlag(true);
    return true;
}

} // namespace KRN
