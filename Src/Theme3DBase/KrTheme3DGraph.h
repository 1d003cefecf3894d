#pragma once
// The graph theme (type code 4): a small 3D chart per feature - bars side by side, stacked bars
// or a pie of cylinder slices - sized between the layer's smallest and largest totals.
// Edits change the working chart; PrepareTheme copies it to the prepared chart and UpdateTheme
// that to the update chart, which drawing reads.
#include <cstdint>

#include "BsxArray.h"
#include "BsxGeometry.h"
#include "BsxUnicodeString.h"
#include "Kr3DGraph.h"
#include "Kr3DGraphItem.h"
#include "KrStyle.h"
#include "KrTextStyle.h"
#include "KrTheme3DSymbol.h"
#include "Theme3DBaseExport.h"

namespace KRN {

/// Graph theme (type code 4): a 3D chart per feature, sized between the layer's extreme totals
class TR_THEME3D_API KrTheme3DGraph : public KrTheme3DSymbol {
public:
    /// Chart type codes
    enum GraphType : int {
        GraphBar = 4,        ///< bars side by side
        GraphPie = 6,        ///< a pie of cylinder slices
        GraphStackedBar = 12 ///< bars stacked into one column
    };
    /// What the text beside each bar or slice shows
    enum ItemTextFormat : int {
        TextPercent = 1,        ///< share of the total
        TextValue = 2,          ///< the value
        TextCaption = 3,        ///< the item's caption
        TextCaptionPercent = 4, ///< caption and share
        TextCaptionValue = 5,   ///< caption and value
    };
    /// How a total is scaled between the smallest and largest chart
    enum GraduatedMode : int {
        GraduatedConstant = 0,   ///< linearly
        GraduatedSquareRoot = 1, ///< by its square root
        GraduatedLogarithm = 2   ///< by its decimal logarithm
    };

    /// An empty chart of type 0 (no drawable type yet) with white item text
    KrTheme3DGraph();
    /// Copies everything, the prepared and update charts included
    KrTheme3DGraph(const KrTheme3DGraph& other);
    /// Swap: the prepared and update charts stay this theme's own
    KrTheme3DGraph& operator=(const KrTheme3DGraph& other);
    /// Releases the three charts
    ~KrTheme3DGraph() override;

    /// "ThemeGraph" and the alias suffix, whatever the argument
    BSX::BsxUnicodeString GetFieldName(bool alias) const override;
    /// The theme's document; empty text (logged "EGg041") when the base text is unusable
    BSX::BsxUnicodeString ToXML(int version, BSX::BsxUnicodeString path) const override;
    /// Reads a document into the working chart; false (logged "EGg040") for an empty text or an unreadable base
    bool FromXML(const BSX::BsxUnicodeString& xml, int version, BSX::BsxUnicodeString path) override;
    /// Aliased query fields (alias true) or "ThemeGraph<suffix>1", ... per update item
    bool GetThemeQueryDef(BSX::BsxArray<BSX::BsxUnicodeString>& fields, bool alias) override;
    /// Type of an update item
    int GetThemeGraphItemType(int index) const override;
    /// Value of working item `item` for the feature whose key is `key` (0 when there is none)
    void GetThemeGraphValues(double& value, int item, int key) override;
    /// Does nothing: sizes come from CalExtremumvValue
    void CalculateGraphProperty(double value) override;
    /// The chart of one feature, owned by the caller; null for an undrawable graph type or an
    /// abandoned build. Values that are not positive are overwritten with 0.001.
    KrGeometry* ConvertToGeometry(double* values, unsigned int count, const BSX::BsxPoint3D& position) override;
    /// working -> prepared, need-update set
    void PrepareTheme() override;
    /// prepared -> update, need-update cleared
    void UpdateTheme() override;

    using KrTheme3D::GetThemeQueryDef;

    /// Appends a field item whose expression and caption are the text; answers its index
    int Add(const BSX::BsxUnicodeString& expression);                                         // marks
    /// Appends an array item with these values; answers its index
    int AddArrayField(BSX::BsxUnicodeString caption, const BSX::BsxArray<double>& values);      // marks
    /// Inserts a copy of item before index (a negative index appends)
    void Insert(int index, const Kr3DGraphItem& item);
    /// Removes the item at index; answers how many went
    int RemoveAt(int index);
    /// Removes every item
    void RemoveAll();                                                                           // marks
    /// Exchanges two items by assignment both ways; false when either index is outside
    bool ExchangeItem(int first, int second);
    /// First item whose field expression equals the text ignoring case, or -1
    int IndexOf(const BSX::BsxUnicodeString& expression);
    /// Number of working items, and growing or shrinking the list as Kr3DGraph::SetCount does
    ///@{
    int GetCount() const { return m_graph.GetCount(); }
    void SetCount(int count) { m_graph.SetCount(count); }
    ///@}
    /// Working item access by index; an index outside throws std::out_of_range
    ///@{
    const Kr3DGraphItem& GetItem(int index) const { return m_graph.GetItem(index); }
    BSX::BsxUnicodeString GetExpressionAt(int index) const { return m_graph.GetExpressionAt(index); }
    void SetExpressionAt(int index, const BSX::BsxUnicodeString& expression) { m_graph.SetExpressionAt(index, expression); }
    void SetCaptionAt(int index, const BSX::BsxUnicodeString& caption) { m_graph.SetCaptionAt(index, caption); }
    ///@}
    /// Makes the item an array item with these values
    void SetCaptionAt(int index, const BSX::BsxUnicodeString& caption, const BSX::BsxArray<double>& values);
    /// Style of the item at index (both mark the theme as modified)
    ///@{
    const KrStyle& GetStyleAt(int index);                                                       // marks
    void SetStyleAt(int index, const KrStyle& style);                                           // marks
    ///@}
    /// Chart type: a GraphType code
    ///@{
    int GetGraphType() const { return m_graph.GetGraphType(); }
    void SetGraphType(int type);                                                                // marks
    ///@}

    /// Array items addressed by caption (first exact match); mark only when the item exists.
    /// Insert into the found item's values, or insert a new array item among the items.
    ///@{
    void InsertArrayFieldAt(BSX::BsxUnicodeString caption, int index, const BSX::BsxArray<double>& values);
    void InsertArrayFieldAt(BSX::BsxUnicodeString caption, int index, const double* values, int count);
    ///@}
    /// Removes the array item of that caption; false when there is none
    bool RemoveArrayField(BSX::BsxUnicodeString caption);
    /// Removes count values from index of the array item of that caption
    void RemoveArrayFieldAt(BSX::BsxUnicodeString caption, int index, int count);

    /// Key list: array value k belongs to key k (all mark but the getter)
    ///@{
    BSX::BsxArray<int>& GetJoinArrayField() { return m_keys; }
    void SetJoinArrayField(BSX::BsxArray<int> keys);
    void InsertJoinArrayFieldAt(int index, const BSX::BsxArray<int>& keys);
    void InsertJoinArrayFieldAt(int index, const int* keys, int count);
    int RemoveJoinArrayFieldAt(int index, int count);
    ///@}

    /// Width of a bar, in metres
    ///@{
    double GetBarWidth() const { return m_barWidth; }
    void SetBarWidth(double width) { m_barWidth = width; }
    ///@}
    /// Angle where the first pie slice starts, in degrees
    ///@{
    double GetStartAngle() const { return m_startAngle; }
    void SetStartAngle(double angle) { m_startAngle = angle; }
    ///@}
    /// Whether each bar or slice carries a text
    ///@{
    bool IsShowItemText() const { return m_showItemText; }
    void SetShowItemText(bool show) { m_showItemText = show; }
    ///@}
    /// What that text shows: an ItemTextFormat code
    ///@{
    int GetItemTextFormat() const { return m_itemTextFormat; }
    void SetItemTextFormat(int format) { m_itemTextFormat = format; }
    ///@}
    /// Text style of that text
    ///@{
    const KrTextStyle& GetItemTextStyle() const { return m_itemTextStyle; }
    void SetItemTextStyle(const KrTextStyle& style) { m_itemTextStyle = style; }
    ///@}
    /// How totals are scaled: a GraduatedMode code, kept in one byte
    ///@{
    int GetGraduatedMode() const { return m_graduatedMode; }
    void SetGraduatedMode(int mode) { m_graduatedMode = static_cast<uint8_t>(mode & 0xFF); }
    ///@}
    /// Chart height for the minimum / maximum sum; the width is kept as height x sqrt(2)
    ///@{
    double GetMinSumSize() const { return m_minSize.cy; }
    void SetMinSumSize(double size);                                                            // marks
    double GetMaxSumSize() const { return m_maxSize.cy; }
    void SetMaxSumSize(double size);                                                            // marks
    ///@}
    /// Sums and default sizes for a layer: the given totals widened by the array items' extremes
    bool CalExtremumvValue(const double& minSum, const double& maxSum, const BSX::BsxRect2D& bounds,
                           const int& count, bool absolute);                                    // marks

    /// Derived state, read back by hosts and tests: sums, their roots and logarithms, sizes
    ///@{
    double GetMinSum() const { return m_minSum; }
    double GetMaxSum() const { return m_maxSum; }
    double GetSqrtMinSum() const { return m_sqrtMinSum; }
    double GetSqrtMaxSum() const { return m_sqrtMaxSum; }
    double GetLogMinSum() const { return m_logMinSum; }
    double GetLogMaxSum() const { return m_logMaxSum; }
    const BSX::BsxSize2D& GetMinSize() const { return m_minSize; }
    const BSX::BsxSize2D& GetMaxSize() const { return m_maxSize; }
    ///@}
    /// Distance between neighbouring bars in degrees of longitude, at the feature last drawn
    double GetBarSpacingDegrees() const { return m_barSpacingDegrees; }
    /// The three charts of the hand-over chain
    ///@{
    const Kr3DGraph& GetWorkingGraph() const { return m_graph; }
    const Kr3DGraph& GetPreparedGraph() const { return m_prepared; }
    const Kr3DGraph& GetUpdateGraph() const { return m_update; }
    ///@}

    /// Appends "<expression> as ThemeGraph<suffix><n>" per update item with an expression
    bool GetFieldName(BSX::BsxArray<BSX::BsxUnicodeString>& fields) const;
    /// Copies other into this theme (not an exchange)
    void Swap(const KrTheme3DGraph& other);

protected:
    /// Chart builders: values, count, position, top, bottom, total, scaled total, replacement
    ///@{
    KrGeometry* BarToGeometry(double* values, unsigned int count, const BSX::BsxPoint3D& position, const double& top,
                              const double& bottom, const double& total, const double& scaled,
                              const double& replacement);
    KrGeometry* StackedBarToGeometry(double* values, unsigned int count, const BSX::BsxPoint3D& position,
                                     const double& top, const double& bottom, const double& total,
                                     const double& scaled, const double& replacement);
    KrGeometry* PieCylinderToGeometry(double* values, unsigned int count, const BSX::BsxPoint3D& position,
                                      const double& top, const double& bottom, const double& total,
                                      const double& scaled, const double& replacement);
    ///@}
    /// Text of item index for its value and the chart total, by the item text format
    BSX::BsxUnicodeString GetItemString(const double& value, const int& index, const double& total);

private:
    int GetCountForUpdate() const { return m_update.GetCount(); }
    BSX::BsxUnicodeString GetExpressionAtForUpdate(int index) const { return m_update.GetExpressionAt(index); }
    /// First working item whose caption is caption, or -1
    int FindArrayField(const BSX::BsxUnicodeString& caption) const;

    struct XmlElement;
    static const XmlElement* XmlElements(int& count);

    Kr3DGraph m_graph;
    Kr3DGraph m_prepared;
    Kr3DGraph m_update;
    double m_barWidth = 0.0;
    double m_maxSum = 0.0;
    double m_minSum = 0.0;
    double m_sqrtMaxSum = 0.0;
    double m_sqrtMinSum = 0.0;
    double m_logMaxSum = 0.0;
    double m_logMinSum = 0.0;
    BSX::BsxSize2D m_minSize;
    BSX::BsxSize2D m_maxSize;
    double m_barSpacingDegrees = 0.0;
    uint8_t m_graduatedMode = GraduatedConstant;
    bool m_showItemText = false;
    KrTextStyle m_itemTextStyle;
    int m_itemTextFormat = TextPercent;
    BSX::BsxArray<int> m_keys;
    double m_startAngle = 0.0;
};

} // namespace KRN
