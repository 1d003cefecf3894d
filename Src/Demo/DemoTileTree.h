#pragma once
// The quadtree of a tiled layer: the layer's extent cut in four again and again until every
// tile holds at most a given number of features. A feature belongs to the one tile whose
// rectangle holds its anchor. A layer across the antimeridian is tiled in longitudes that run
// on past 180 degrees, with the antimeridian on the root's split, so that every other tile lies
// on one side of it. Features are counted on a fixed grid first, so that building the
// tree takes memory that depends on the grid alone, never on the layer.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace KRN {

struct DemoTileNode {
    int level = 0;
    std::uint32_t x = 0, y = 0;
    // Features whose anchor lies in the node's rectangle
    std::uint64_t count = 0;
    int parent = -1;
    // Children present (empty quarters have none), in the order south-west, south-east,
    // north-west, north-east
    std::vector<int> children;
    bool IsLeaf() const { return children.empty(); }
};

class DemoTileTree {
public:
    // The deepest level: 2^10 x 2^10 grid cells (4 MiB of counts)
    static constexpr int kGridLevel = 10;

    // Degrees; a zero-width or zero-height extent is widened a little so that cells have a size.
    // An extent across the antimeridian comes with west > east, or with a side past 180 degrees.
    void SetExtent(double west, double south, double east, double north);
    // west, south, east, north in degrees within [-180, 180]; west > east across the antimeridian
    std::array<double, 4> GetExtent() const;
    bool CrossesAntimeridian() const { return m_crosses; }

    // Counts a feature anchored at lon/lat (points outside the extent go to its edge cells)
    void Count(double lon, double lat);
    // The grid cell that holds lon/lat, and counts added to a cell by that index (counts kept
    // elsewhere, such as a layer summary's, come back this way); the grid's memory is taken at
    // the first count
    std::uint32_t CellIndex(double lon, double lat) const;
    void AddCell(std::uint32_t cell, std::uint64_t count);
    // Adds the counts of a tree over the same extent
    void Merge(const DemoTileTree& other);
    std::uint64_t GetTotal() const { return m_total; }

    // Builds the nodes from the counts: a node with more than capacity features is split
    // unless it is at the deepest level. Nodes come depth-first (a parent before its children,
    // children in their order), the root first; a layer without features has no node.
    void Build(std::uint64_t capacity);
    const std::vector<DemoTileNode>& GetNodes() const { return m_nodes; }
    // Leaves in depth-first order: neighbours in the list are neighbours on the ground
    std::vector<int> GetLeaves() const;
    int GetDepth() const;

    // Whether the node's rectangle holds lon/lat, by the same cell rule as Count
    bool Contains(const DemoTileNode& node, double lon, double lat) const;
    // The node's rectangle: west, south, east, north in degrees. Across the antimeridian the
    // longitudes run from 0 to 360: tiles east of it lie past 180 degrees.
    std::array<double, 4> GetRect(const DemoTileNode& node) const;
    // "level_x_y", unique per node
    static std::string Name(const DemoTileNode& node);

private:
    void Cell(double lon, double lat, std::uint32_t& cx, std::uint32_t& cy) const;
    void Grow(int level, std::uint32_t x, std::uint32_t y, int parent, std::uint64_t capacity,
              const std::vector<std::vector<std::uint64_t>>& pyramid);

    double m_west = 0.0, m_south = 0.0, m_east = 1.0, m_north = 1.0;
    bool m_crosses = false;
    std::vector<std::uint32_t> m_grid;
    std::uint64_t m_total = 0;
    std::vector<DemoTileNode> m_nodes;
};

} // namespace KRN
