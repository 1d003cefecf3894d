#include "DemoClassColours.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>

#include "DemoColorRamp.h"

namespace KRN {

std::vector<std::pair<int, int>> DemoClassColours::Adjacency(const DemoLayer& layer, const std::vector<int>& featureClass)
{
    // Neighbouring polygons of one data set share their border vertices exactly; a vertex key
    // on a 1e-7 degree grid (about a centimetre) finds them without any geometry library
    std::vector<std::pair<std::uint64_t, int>> vertices;
    for (size_t i = 0; i < layer.features.size() && i < featureClass.size(); ++i) {
        if (featureClass[i] < 0) continue;
        for (const DemoPart& part : layer.features[i].parts) {
            for (const auto& ring : part.rings) {
                for (const auto& p : ring) {
                    if (!std::isfinite(p.x) || !std::isfinite(p.y)) continue;
                    const auto x = static_cast<std::uint64_t>(std::llround((p.x + 360.0) * 1e7));
                    const auto y = static_cast<std::uint64_t>(std::llround((p.y + 360.0) * 1e7));
                    vertices.emplace_back((x << 32) ^ y, featureClass[i]);
                }
            }
        }
    }
    std::sort(vertices.begin(), vertices.end());
    vertices.erase(std::unique(vertices.begin(), vertices.end()), vertices.end());
    std::vector<std::pair<int, int>> edges;
    for (size_t start = 0; start < vertices.size();) {
        size_t end = start + 1;
        while (end < vertices.size() && vertices[end].first == vertices[start].first) ++end;
        for (size_t a = start; a < end; ++a) {
            for (size_t b = a + 1; b < end; ++b) edges.emplace_back(vertices[a].second, vertices[b].second);
        }
        start = end;
    }
    std::sort(edges.begin(), edges.end());
    edges.erase(std::unique(edges.begin(), edges.end()), edges.end());
    return edges;
}

std::vector<int> DemoClassColours::Assign(int classCount, const std::vector<std::pair<int, int>>& adjacency)
{
    const size_t n = static_cast<size_t>(std::max(0, classCount));
    std::vector<int> colour(n, -1);
    if (n <= static_cast<size_t>(DemoColorRamp::kQualitativeSize)) {
        std::iota(colour.begin(), colour.end(), 0);
        return colour;
    }
    std::vector<std::vector<int>> neighbours(n);
    for (const auto& e : adjacency) {
        if (e.first < 0 || e.second < 0 || static_cast<size_t>(e.first) >= n || static_cast<size_t>(e.second) >= n) continue;
        neighbours[static_cast<size_t>(e.first)].push_back(e.second);
        neighbours[static_cast<size_t>(e.second)].push_back(e.first);
    }
    // Most constrained classes first (Welsh and Powell); each takes the least used colour that
    // none of its coloured neighbours has, so that classes without neighbours spread out too
    std::vector<size_t> order(n);
    std::iota(order.begin(), order.end(), size_t(0));
    std::stable_sort(order.begin(), order.end(),
                     [&](size_t a, size_t b) { return neighbours[a].size() > neighbours[b].size(); });
    std::vector<size_t> used(static_cast<size_t>(DemoColorRamp::kQualitativeSize), 0);
    std::vector<char> taken;
    for (size_t c : order) {
        taken.assign(used.size(), 0);
        for (int m : neighbours[c]) {
            const int k = colour[static_cast<size_t>(m)];
            if (k >= 0) taken[static_cast<size_t>(k)] = 1;
        }
        size_t best = used.size();
        for (size_t k = 0; k < used.size(); ++k) {
            if (!taken[k] && (best == used.size() || used[k] < used[best])) best = k;
        }
        // Every colour is next door: the palette grows by one
        if (best == used.size()) used.push_back(0);
        ++used[best];
        colour[c] = static_cast<int>(best);
    }
    return colour;
}

} // namespace KRN
