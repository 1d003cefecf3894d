#pragma once
// Tiled output of the demo host: every theme becomes a tileset (a quadtree of .glb tiles and
// the document that names them) instead of one scene. The layer is never held whole: one scan
// summarises it (anchors counted on a grid, what the themes need from every feature), then a
// pool of threads reads, draws and writes the features tile by tile, each thread drawing with
// its own clone of the theme.
#include <cstdint>
#include <vector>

#include "DemoLayerSummary.h"
#include "DemoOptions.h"
#include "KrTheme3DFactory.h"

namespace KRN {

class DemoLayerStream;

class DemoTiler {
public:
    // Identifiers per span of the scan: the unit that threads (or workers elsewhere) summarise
    static constexpr long long kScanSpan = 1 << 16;

    // Where a run finds what it needs in the layer summary: indices into the plan's lists of
    // numeric fields, value fields and charts (-1: nothing)
    struct RunNeeds {
        int numeric = -1, values = -1, chart = -1;
    };
    // What the summary must gather for the runs (the extent is the caller's), and each run's
    // place in it
    static DemoSummaryPlan Plan(const DemoOptions& options, KrTheme3DFactory& factory, std::vector<RunNeeds>& needs);
    // How many spans a layer's scan takes: one when the source cannot select by identifier
    static long long SpanCount(DemoLayerStream& stream);
    // Summarises span number `span` of `spans` (the last one is open-ended; a single span is the
    // whole layer) into summary, made with the layer's plan; false when interrupted, or when a
    // strict reading stopped at a feature it cannot read (the stream's GetError says why)
    static bool SummariseSpan(DemoLayerStream& stream, long long span, long long spans, DemoLayerSummary& summary);
    // A run's request with the whole layer's statistics, quantile breaks and value counts
    static DemoRun Complete(const DemoRun& run, const RunNeeds& needs, const DemoLayerSummary& summary);

    // Writes options.outDir/<name>/tileset.json and its tiles for every run; answers the process
    // exit code (0 when all were written, 130 when interrupted)
    static int Run(const DemoOptions& options, KrTheme3DFactory& factory);
};

} // namespace KRN
