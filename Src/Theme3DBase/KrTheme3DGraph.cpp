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
const wchar_t kFieldPrefix[] = L"ThemeGraph";
const double kSqrt2 = 1.4142135623730951;

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

} // namespace KRN
