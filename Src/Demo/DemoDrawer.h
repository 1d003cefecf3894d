#pragma once
// Draws a layer with a theme the way the scene engine does: the theme's query fields first, then
// for every feature the kind's answer (a style, a label text or a chart geometry).
#include <memory>
#include <string>
#include <vector>

#include "BsxUnicodeString.h"
#include "DemoLayer.h"
#include "KrColorValue3D.h"
#include "KrGeometry.h"
#include "KrStyle.h"
#include "KrTextStyle.h"
#include "KrTheme3D.h"

namespace KRN {

// The theme's answer for one feature
struct DemoDrawnFeature {
    // False when the theme hides the feature (an invisible item, a value outside every range)
    bool drawn = true;
    // Style to draw the feature's own geometry with: the theme's (unique, range), the one the
    // theme filled in (custom), or the drawer's neutral style (label, graph)
    const KrStyle* style = nullptr;
    // Legend entry the feature counts for (-1: none)
    int legendEntry = -1;
    // Label text (label theme), empty when there is none
    BSX::BsxUnicodeString label;
    // Chart standing for the feature (graph theme); the drawer's caller owns it
    std::unique_ptr<KrGeometry> chart;
};

// How chart values become solids
struct DemoChartScale {
    enum class Series { Auto, Independent, Shared };
    // Independent: each series is measured against its own largest value, so that series of
    // different magnitudes (people, dollars) stand side by side; shared: one scale for all.
    // Auto is independent for bars built here and shared for stacks, pies and saved documents.
    Series series = Series::Auto;
    // Metres of chart height per unit of the value, the same for every series; 0 chooses the one
    // that raises the tallest chart to the theme's default height
    double metresPerUnit = 0.0;
    // Bar width (the bars' diameter) in metres; 0 keeps the theme's or its default
    double barWidth = 0.0;
    // Heights in metres of the smallest and largest chart total, interpolated between (instead
    // of heights proportional to the values); unused while sizeMax is 0
    double sizeMin = 0.0, sizeMax = 0.0;
    // The theme came from a saved document: unless an option says otherwise its own sizes stand
    bool fromDocument = false;

    bool Changes() const
    {
        return series != Series::Auto || metresPerUnit > 0.0 || barWidth > 0.0 || sizeMax > 0.0;
    }
};

// A chart's values over a whole layer, for a drawer that sees only part of it: per series the
// factor its values get, the smallest and largest chart total and the tallest single value, for
// series on one scale (shared) and each against its own largest value (independent)
struct DemoChartTotals {
    struct Scaling {
        std::vector<double> factors;
        double minSum = 0.0, maxSum = 0.0, maxValue = 0.0;
    };
    Scaling shared, independent;
};

// One line of the legend
struct DemoLegendEntry {
    std::string caption;
    // "item" (a theme item), "default" (values without an item), "nodata" (features of a range
    // theme without a number), "hidden" (not drawn),
    // "series" (a chart item), "property" (a custom theme property)
    std::string role;
    // The item's value (unique), field (chart series) or expression (custom property)
    std::string value;
    // The range of a range item; each bound only when the range has it
    bool hasLow = false, hasHigh = false;
    double low = 0.0, high = 0.0;
    KrColorValue3D colour;
    size_t count = 0;
    // Chart series: metres of height per unit of the series' value (0 when not proportional)
    double metresPerUnit = 0.0;
};

class DemoDrawer {
public:
    // The theme must outlive the drawer; the layer too
    DemoDrawer(KrTheme3D& theme, const DemoLayer& layer);
    DemoDrawer(const DemoDrawer&) = delete;
    DemoDrawer& operator=(const DemoDrawer&) = delete;

    // Chart settings, before Prepare
    void SetChartScale(const DemoChartScale& scale) { m_chartScale = scale; }
    // The whole layer's chart totals, before Prepare: charts are sized from these instead of
    // from the features the drawer holds
    void SetChartTotals(const DemoChartTotals& totals) { m_totals = totals, m_hasTotals = true; }
    // The geometry kinds the whole layer holds (bit 1 points, 3 lines, 5 regions, 0 others),
    // before Prepare: a custom theme's queries are asked for these instead of the held features'
    void SetGeometryKinds(unsigned kinds) { m_kinds = kinds, m_hasKinds = true; }
    // Whether the chart series were scaled independently (after Prepare)
    bool IsSeriesIndependent() const { return m_independent; }
    // Everything done once per layer: chart extremes and the refresh cycle for charts, the query
    // fields, the legend. False with a message when the theme asks for a field the layer lacks.
    bool Prepare(std::string& error);
    // The theme's answer for feature i (reusing out's storage); counts it in the legend
    void Draw(size_t i, DemoDrawnFeature& out);
    // The same for a feature held outside the layer; key stands for its position in the layer
    // (array chart series are keyed by it)
    void Draw(const DemoFeature& f, size_t key, DemoDrawnFeature& out);

    // The expressions the theme asked to query, in its order
    const std::vector<std::string>& GetQueryFields() const { return m_queryFields; }
    const std::vector<DemoLegendEntry>& GetLegend() const { return m_legend; }
    // Number of classes (items) the theme has
    int GetClassCount() const { return m_classCount; }
    const KrStyle& GetNeutralStyle() const { return m_neutral; }

private:
    bool PrepareGraph(std::string& error);
    bool CheckQueryField(const BSX::BsxUnicodeString& query, std::string& error);
    void BuildLegend();
    void DrawGraph(const DemoFeature& f, size_t i, DemoDrawnFeature& out);

    KrTheme3D& m_theme;
    const DemoLayer& m_layer;
    int m_kind = 0;
    KrStyle m_neutral;
    // Range themes draw features without a number (no data) in a style of their own
    KrStyle m_noData;
    KrStyle m_customStyle;
    BSX::BsxUnicodeString m_expression;
    std::vector<std::string> m_queryFields;
    std::vector<DemoLegendEntry> m_legend;
    // Theme-owned style -> legend entry, for unique and range themes
    std::vector<std::pair<const KrStyle*, int>> m_styleEntries;
    int m_defaultEntry = -1;
    int m_hiddenEntry = -1;
    int m_noDataEntry = -1;
    int m_classCount = 0;
    // Chart series: expression per item (empty for array items), and the values handed over
    std::vector<BSX::BsxUnicodeString> m_seriesExpressions;
    std::vector<int> m_seriesTypes;
    std::vector<double> m_values;
    // Per series: the factor applied to its values before the theme sees them, and the metres
    // per unit of its value that result (0 when heights are not proportional)
    std::vector<double> m_seriesFactors;
    std::vector<double> m_seriesMetres;
    DemoChartScale m_chartScale;
    bool m_independent = false;
    DemoChartTotals m_totals;
    bool m_hasTotals = false;
    unsigned m_kinds = 0;
    bool m_hasKinds = false;
};

} // namespace KRN
