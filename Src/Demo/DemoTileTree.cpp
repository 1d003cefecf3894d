#include "DemoTileTree.h"

#include <algorithm>
#include <cmath>

namespace KRN {

namespace {
constexpr std::uint32_t kSide = 1u << DemoTileTree::kGridLevel;
// Smallest extent side kept, in degrees (about a centimetre)
constexpr double kMinSide = 1e-7;
} // namespace

void DemoTileTree::SetExtent(double west, double south, double east, double north)
{
    // Across the antimeridian the tree works in longitudes from 0 to 360, its extent centred on
    // 180 degrees so that the root's split falls on the antimeridian
    if (west > east) east += 360.0;
    if (west < -180.0 && east <= 180.0) west += 360.0, east += 360.0;
    m_crosses = east > 180.0 && west < 180.0;
    if (m_crosses) {
        const double half = std::min(180.0, std::max(180.0 - west, east - 180.0));
        west = 180.0 - half, east = 180.0 + half;
    }
    if (!(east - west >= kMinSide)) {
        const double mid = (west + east) * 0.5;
        west = mid - kMinSide, east = mid + kMinSide;
    }
    if (!(north - south >= kMinSide)) {
        const double mid = (south + north) * 0.5;
        south = mid - kMinSide, north = mid + kMinSide;
    }
    m_west = west, m_south = south, m_east = east, m_north = north;
    m_grid.clear();
    m_total = 0;
    m_nodes.clear();
}

void DemoTileTree::Cell(double lon, double lat, std::uint32_t& cx, std::uint32_t& cy) const
{
    if (m_crosses) lon -= 360.0 * std::floor(lon / 360.0);
    auto index = [](double v, double lo, double hi) {
        const double f = std::floor((v - lo) / (hi - lo) * kSide);
        if (!(f >= 0.0)) return std::uint32_t{0};
        return f >= kSide ? kSide - 1 : static_cast<std::uint32_t>(f);
    };
    cx = index(lon, m_west, m_east);
    cy = index(lat, m_south, m_north);
}

std::uint32_t DemoTileTree::CellIndex(double lon, double lat) const
{
    std::uint32_t cx, cy;
    Cell(lon, lat, cx, cy);
    return cy * kSide + cx;
}

void DemoTileTree::AddCell(std::uint32_t cell, std::uint64_t count)
{
    if (cell >= kSide * kSide) return;
    if (m_grid.empty()) m_grid.assign(static_cast<size_t>(kSide) * kSide, 0);
    m_grid[cell] += static_cast<std::uint32_t>(count);
    m_total += count;
}

void DemoTileTree::Count(double lon, double lat) { AddCell(CellIndex(lon, lat), 1); }

void DemoTileTree::Merge(const DemoTileTree& other)
{
    if (other.m_grid.empty()) return;
    if (m_grid.empty()) m_grid.assign(other.m_grid.size(), 0);
    for (size_t i = 0; i < m_grid.size(); ++i) m_grid[i] += other.m_grid[i];
    m_total += other.m_total;
}

void DemoTileTree::Build(std::uint64_t capacity)
{
    m_nodes.clear();
    if (m_total == 0) return;
    // Counts per level, the grid at the bottom
    std::vector<std::vector<std::uint64_t>> pyramid(kGridLevel + 1);
    pyramid[kGridLevel].assign(m_grid.begin(), m_grid.end());
    for (int level = kGridLevel - 1; level >= 0; --level) {
        const std::uint32_t side = 1u << level;
        const auto& below = pyramid[static_cast<size_t>(level + 1)];
        auto& here = pyramid[static_cast<size_t>(level)];
        here.assign(static_cast<size_t>(side) * side, 0);
        for (std::uint32_t y = 0; y < side * 2; ++y) {
            for (std::uint32_t x = 0; x < side * 2; ++x)
                here[static_cast<size_t>(y / 2) * side + x / 2] += below[static_cast<size_t>(y) * side * 2 + x];
        }
    }
    Grow(0, 0, 0, -1, std::max<std::uint64_t>(capacity, 1), pyramid);
}

void DemoTileTree::Grow(int level, std::uint32_t x, std::uint32_t y, int parent, std::uint64_t capacity,
                        const std::vector<std::vector<std::uint64_t>>& pyramid)
{
    const std::uint32_t side = 1u << level;
    const std::uint64_t count = pyramid[static_cast<size_t>(level)][static_cast<size_t>(y) * side + x];
    if (count == 0) return;
    const int index = static_cast<int>(m_nodes.size());
    DemoTileNode node;
    node.level = level, node.x = x, node.y = y, node.count = count, node.parent = parent;
    m_nodes.push_back(node);
    if (parent >= 0) m_nodes[static_cast<size_t>(parent)].children.push_back(index);
    // A root across the antimeridian always splits, so that no tile but the root straddles it
    if ((count <= capacity && !(level == 0 && m_crosses)) || level == kGridLevel) return;
    for (std::uint32_t dy = 0; dy < 2; ++dy) {
        for (std::uint32_t dx = 0; dx < 2; ++dx) Grow(level + 1, x * 2 + dx, y * 2 + dy, index, capacity, pyramid);
    }
}

std::vector<int> DemoTileTree::GetLeaves() const
{
    std::vector<int> leaves;
    for (size_t i = 0; i < m_nodes.size(); ++i) {
        if (m_nodes[i].IsLeaf()) leaves.push_back(static_cast<int>(i));
    }
    return leaves;
}

int DemoTileTree::GetDepth() const
{
    int depth = 0;
    for (const DemoTileNode& n : m_nodes) depth = std::max(depth, n.level + 1);
    return depth;
}

bool DemoTileTree::Contains(const DemoTileNode& node, double lon, double lat) const
{
    std::uint32_t cx, cy;
    Cell(lon, lat, cx, cy);
    const int shift = kGridLevel - node.level;
    return (cx >> shift) == node.x && (cy >> shift) == node.y;
}

std::array<double, 4> DemoTileTree::GetRect(const DemoTileNode& node) const
{
    const double side = static_cast<double>(1u << node.level);
    const double w = (m_east - m_west) / side, h = (m_north - m_south) / side;
    return {m_west + w * node.x, m_south + h * node.y, m_west + w * (node.x + 1), m_south + h * (node.y + 1)};
}

std::array<double, 4> DemoTileTree::GetExtent() const
{
    auto wrap = [](double lon) { return lon > 180.0 ? lon - 360.0 : lon; };
    if (!m_crosses) return {m_west, m_south, m_east, m_north};
    // Across the antimeridian the source's extent may span every longitude (features written on
    // both sides of it): the columns that hold anchors tell where the layer is
    std::uint32_t lo = kSide, hi = 0;
    for (size_t i = 0; i < m_grid.size(); ++i) {
        if (m_grid[i] == 0) continue;
        lo = std::min(lo, static_cast<std::uint32_t>(i % kSide)), hi = std::max(hi, static_cast<std::uint32_t>(i % kSide));
    }
    const double cell = (m_east - m_west) / kSide;
    if (lo > hi) lo = 0, hi = kSide - 1;
    return {wrap(m_west + cell * lo), m_south, wrap(m_west + cell * (hi + 1)), m_north};
}

std::string DemoTileTree::Name(const DemoTileNode& node)
{
    return std::to_string(node.level) + "_" + std::to_string(node.x) + "_" + std::to_string(node.y);
}

} // namespace KRN
