#pragma once
// Tiled output of the demo host: every theme becomes a tileset (a quadtree of .glb tiles and
// the document that names them) instead of one scene. The layer is never held whole: one scan
// counts the features on a grid and keeps a fixed-size sample for building the theme, then a
// pool of threads reads, draws and writes the features tile by tile, each thread drawing with
// its own clone of the theme.
#include <cstdint>

#include "DemoOptions.h"
#include "KrTheme3DFactory.h"

namespace KRN {

class DemoTiler {
public:
    // Attribute records kept to build themes from (a seeded choice among all features when the
    // layer has more): range breaks and unique values come from these
    static constexpr size_t kSampleSize = 65536;

    // Writes options.outDir/<name>/tileset.json and its tiles for every run; answers the process
    // exit code (0 when all were written, 130 when interrupted)
    static int Run(const DemoOptions& options, KrTheme3DFactory& factory);
};

} // namespace KRN
