#pragma once
// Command line of the demo host.
#include <string>
#include <vector>

#include "DemoDrawer.h"
#include "DemoLayerReader.h"
#include "DemoThemeBuilder.h"

namespace KRN {

// One theme to draw and the name its files get
struct DemoRun {
    std::string name;
    DemoThemeRequest request;
    // Metres per unit of the value that drives a height: the custom theme's height fields, the
    // heights a saved theme's styles give, chart values (where it sets chartScale.metresPerUnit)
    double heightScale = 1.0;
    DemoChartScale chartScale;
};

struct DemoOptions {
    std::string pluginPath;
    std::string dataPath;
    std::string layerName;
    std::string outDir = "t3d-demo-out";
    // Field whose value names each feature in the per-feature output (empty: none)
    std::string idField;
    bool idFieldGiven = false;
    // How the layer is read: leniently, and from coordinate fields
    DemoReadOptions read;
    bool progress = true;
    // The five kinds of the built-in tour on the layer --data names (it needs the tour's fields)
    bool tour = false;
    bool help = false;
    // Tiled output: a tileset per theme, drawn by this many threads (0: one per core), with at
    // most tileFeatures features per tile content
    bool tiles = false;
    int threads = 0;
    int tileFeatures = 8192;
    std::vector<DemoRun> runs;

    // Parses argv; false with a message on a bad option. With no theme option the runs are the
    // built-in tour of all five kinds.
    bool Parse(int argc, const char* const* argv, std::string& error);
    static std::string Usage();
};

} // namespace KRN
