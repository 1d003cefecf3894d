#pragma once
// The tileset document of a tiled layer and the small pieces of geodesy it needs: bounding
// regions (radians and metres) of drawn scenes, and a file write that never leaves a partial
// file under its final name.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "DemoScene.h"
#include "DemoTileTree.h"

namespace KRN {

// west, south, east, north in radians, lowest and highest height in metres
using DemoRegion = std::array<double, 6>;

// What the tileset says about one node of the tree
struct DemoTileRecord {
    DemoRegion region{};
    bool hasRegion = false;
    // Metres of detail missing when the tile is drawn instead of its children; 0 for leaves
    double geometricError = 0.0;
    // Content files, relative to the tileset document
    std::vector<std::string> contents;
};

class DemoTileset {
public:
    // The region of every vertex of the scene; false for an empty scene
    static bool SceneRegion(const DemoScene& scene, DemoRegion& region);
    // The region of a rectangle in degrees at height 0
    static DemoRegion RectRegion(const std::array<double, 4>& degrees);
    // Grows a region to hold another
    static void Extend(DemoRegion& region, const DemoRegion& other);

    // The document: asset version 1.1, the tree's nodes as tiles refined by replacement.
    // records run parallel to the tree's nodes; every node must have its region.
    static std::string Json(const DemoTileTree& tree, const std::vector<DemoTileRecord>& records);

    // Writes the bytes to a temporary file beside path and renames it to path, so that path
    // holds either nothing new or all of it; durable first flushes everything written to the
    // file system before (the tiles) and the bytes themselves to disk. False with a message.
    static bool WriteAtomically(const std::string& path, const void* data, size_t size, bool durable,
                                std::string& error);
};

} // namespace KRN
