#include "Kr3DGraph.h"

#include <algorithm>
#include <utility>

namespace KRN {

using BSX::BsxUnicodeString;

namespace {
// Puts source into target whole, array values included. Items that shift along the list must
// carry their own values, which assignment would not do for an item without any.
void Relocate(Kr3DGraphItem& target, Kr3DGraphItem& source)
{
    target.ArrayValues.RemoveAll();
    target = std::move(source);
}
} // namespace

Kr3DGraph::Kr3DGraph() = default;

Kr3DGraph::Kr3DGraph(const Kr3DGraph& other) : Kr3DGraph() { *this = other; }

Kr3DGraph& Kr3DGraph::operator=(const Kr3DGraph& other)
{
    if (this == &other) return *this;
    m_graphType = other.m_graphType;
    m_barWidth = other.m_barWidth;
    // Items present on both sides are assigned, so that an item whose source has no array
    // values keeps its own; the array's own copy would rebuild them all when it reallocates
    const int common = std::min(GetCount(), other.GetCount());
    for (int i = 0; i < common; ++i) m_items[i] = other.m_items[i];
    if (GetCount() > other.GetCount()) {
        m_items.SetSize(common);
    } else {
        m_items.Reserve(other.GetCount());
        for (int i = common; i < other.GetCount(); ++i) m_items.Add(other.m_items[i]);
    }
    return *this;
}

Kr3DGraph::~Kr3DGraph() = default;

int Kr3DGraph::Add(const BsxUnicodeString& expression)
{
    Kr3DGraphItem item;
    item.FieldExpression = expression;
    item.Caption = expression;
    return m_items.Add(item);
}

void Kr3DGraph::SetCount(int count)
{
    if (count <= 0) return;
    const int current = GetCount();
    if (current > count || current == 0) {
        m_items.SetSize(count);
        return;
    }
    m_items.Reserve(count);
    const Kr3DGraphItem last = m_items[current - 1];
    for (int i = current; i < count; ++i) m_items.Add(last);
}

int Kr3DGraph::RemoveAt(int index, int count)
{
    if (index < 0 || index >= GetCount() || count <= 0) return 0;
    const int removed = std::min(GetCount() - index, count);
    for (int i = index; i + removed < GetCount(); ++i) Relocate(m_items[i], m_items[i + removed]);
    m_items.SetSize(GetCount() - removed);
    return removed;
}

void Kr3DGraph::RemoveAll() { m_items = BSX::BsxArray<Kr3DGraphItem>(); }

void Kr3DGraph::InsertAt(int index, const Kr3DGraphItem& item)
{
    if (index < 0 || index >= GetCount()) {
        m_items.Add(item);
        return;
    }
    // A copy first: item may be one of this list's own, which the growth below would move
    Kr3DGraphItem copy(item);
    m_items.Add(Kr3DGraphItem());
    for (int i = GetCount() - 1; i > index; --i) Relocate(m_items[i], m_items[i - 1]);
    Relocate(m_items[index], copy);
}

} // namespace KRN
