#pragma once
// What one pass over a layer learns about all of it: where its features stand (counts on the
// tile grid), how many there are, and what the themes need from their fields: exact statistics
// and a quantile sketch of numbers, the distinct values with their counts, the extremes of chart
// totals. Parts of a layer (spans of identifiers, partitions read on other machines) are
// summarised apart and merged in their order; a summary travels as bytes, so the part that read
// the features and the one that merges need not share a process.
#include <array>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "DemoDrawer.h"
#include "DemoLayer.h"
#include "DemoThemeBuilder.h"
#include "DemoTileTree.h"
#include "KrClassStatistics.h"
#include "KrQuantileSketch.h"

namespace KRN {

// What a summary gathers beyond counts. Every part of one layer takes the same plan.
struct DemoSummaryPlan {
    // The extent the grid covers (west, south, east, north in degrees)
    std::array<double, 4> extent{{0.0, 0.0, 0.0, 0.0}};
    // Fields whose numbers get statistics and a quantile sketch (range themes)
    std::vector<std::string> numericFields;
    // Fields whose distinct values are counted (unique themes)
    std::vector<std::string> valueFields;
    // The series expressions of each chart (graph themes); an empty one has no value
    std::vector<std::vector<std::string>> charts;
    // Most distinct values counted per field. Beyond it the rarest are let go and the counts
    // kept may fall short by the amount GetValues reports; a value more frequent than one
    // feature in valueLimit is never let go.
    std::uint64_t valueLimit = 65536;
};

class DemoLayerSummary {
public:
    DemoLayerSummary() = default;
    explicit DemoLayerSummary(const DemoSummaryPlan& plan);

    const DemoSummaryPlan& GetPlan() const { return m_plan; }

    // One feature read (its attributes, geometry kind and anchor)
    void Add(const DemoFeature& feature);
    // Records the reader could not read and left out
    void AddSkipped(std::uint64_t count) { m_skipped += count; }

    // Appends a summary of the features that come after these; false (and nothing changed) when
    // its plan differs. Merging parts in the same order gives the same summary however the
    // parts were cut among threads or machines.
    bool Merge(const DemoLayerSummary& later);

    std::string ToBytes() const;
    // False when the bytes are not a summary; this one is left empty then
    bool FromBytes(const std::string& bytes);

    std::uint64_t GetFeatures() const { return m_features; }
    // Features without a place (no geometry, or none that gives an anchor)
    std::uint64_t GetUnanchored() const { return m_unanchored; }
    std::uint64_t GetSkipped() const { return m_skipped; }
    // Host geometry codes present (modulo 100): bit 1 points, 3 lines, 5 regions, 0 others
    unsigned GetGeometryKinds() const { return m_kinds; }

    // Adds the anchors' grid counts to a tree whose extent is the plan's
    void CountInto(DemoTileTree& tree) const;
    // The numeric field's statistics and sketch (index into the plan's numericFields)
    const KrClassStatistics& GetStatistics(size_t field) const { return m_numeric[field].statistics; }
    const KrQuantileSketch& GetSketch(size_t field) const { return m_numeric[field].sketch; }
    // The distinct values of a value field (index into the plan's valueFields)
    DemoValueCounts GetValues(size_t field) const;
    // The extremes of a chart's totals (index into the plan's charts), for either scaling
    DemoChartTotals GetChartTotals(size_t chart) const;

private:
    struct Numeric {
        KrClassStatistics statistics;
        KrQuantileSketch sketch;
    };
    struct Distinct {
        std::unordered_map<std::string, DemoValueCount> values;
        std::uint64_t shortfall = 0;
        bool complete = true;
    };
    // The features of a chart that could hold its largest or smallest total for any positive
    // weighting of its series: those no other feature beats (or undercuts) in every series
    struct Chart {
        std::vector<double> low, high;
        double minSum = 0.0, maxSum = 0.0;
        std::vector<std::vector<double>> top, bottom;
        // More candidates than kept: totals of scaled series are then bounded by the series' own
        // extremes instead
        bool bounded = false;
        bool any = false;
    };

    void Compact() const;
    void AddValue(Distinct& d, const std::string& text, double number, std::uint64_t count);
    void AddPoint(Chart& c, const std::vector<double>& point);

    DemoSummaryPlan m_plan;
    std::uint64_t m_features = 0, m_unanchored = 0, m_skipped = 0;
    unsigned m_kinds = 0;
    // Grid cells of the anchors: counted cells by index, and cells seen since the last compaction
    mutable std::vector<std::pair<std::uint32_t, std::uint64_t>> m_cells;
    mutable std::vector<std::uint32_t> m_pending;
    std::vector<Numeric> m_numeric;
    std::vector<Distinct> m_distinct;
    std::vector<Chart> m_charts;
    // The grid's cell rule: a tree over the plan's extent that holds no counts
    DemoTileTree m_grid;
    // The plan's field names as the features know them
    std::vector<BSX::BsxUnicodeString> m_numericNames, m_valueNames;
    std::vector<std::vector<BSX::BsxUnicodeString>> m_seriesNames;
};

} // namespace KRN
