#pragma once
// An ordered list of chart items with a chart type code and a bar width.
#include "BsxArray.h"
#include "BsxUnicodeString.h"
#include "Kr3DGraphItem.h"
#include "KrStyle.h"
#include "Theme3DBaseExport.h"

namespace KRN {

/// An ordered list of chart items with a chart type code and a bar width
class TR_THEME3D_API Kr3DGraph {
public:
    /// An empty list of type 0; copies are deep
    ///@{
    Kr3DGraph();
    Kr3DGraph(const Kr3DGraph& other);
    ///@}
    /// Copies type, bar width and items, item by item assignment where both have an item
    Kr3DGraph& operator=(const Kr3DGraph& other);
    /// Releases the items
    virtual ~Kr3DGraph();

    /// Appends a field item whose expression and caption are the text; answers its index
    int Add(const BSX::BsxUnicodeString& expression);
    /// Number of items
    int GetCount() const { return m_items.GetSize(); }
    /// Grows by repeating the last item (default items when empty) or shrinks from the end;
    /// a count below 1 does nothing
    void SetCount(int count);
    /// Removes up to count items from index; answers how many went (0 for an index outside)
    int RemoveAt(int index, int count);
    /// Removes every item and releases the storage
    void RemoveAll();

    /// Item access; an index outside the items throws std::out_of_range
    ///@{
    const Kr3DGraphItem& GetItem(int index) const { return m_items[index]; }
    Kr3DGraphItem& GetItemAt(int index) { return m_items[index]; }
    BSX::BsxUnicodeString GetExpressionAt(int index) const { return m_items[index].FieldExpression; }
    void SetExpressionAt(int index, const BSX::BsxUnicodeString& expression) { m_items[index].FieldExpression = expression; }
    BSX::BsxUnicodeString GetCaptionAt(int index) const { return m_items[index].Caption; }
    void SetCaptionAt(int index, const BSX::BsxUnicodeString& caption) { m_items[index].Caption = caption; }
    const KrStyle& GetStyleAt(int index) const { return m_items[index].Style; }
    void SetStyleAt(int index, const KrStyle& style) { m_items[index].Style = style; }
    ///@}

    /// Inserts a copy before min(index, count); a negative index appends
    void InsertAt(int index, const Kr3DGraphItem& item);

    /// Chart type (4 bar, 6 pie, 12 stacked bar) and bar width, both unchecked
    ///@{
    int GetGraphType() const { return m_graphType; }
    void SetGraphType(int type) { m_graphType = type; }
    int GetBarWidth() const { return m_barWidth; }
    void SetBarWidth(int width) { m_barWidth = width; }
    ///@}

private:
    BSX::BsxArray<Kr3DGraphItem> m_items;
    int m_graphType = 0;
    int m_barWidth = 0;
};

} // namespace KRN
