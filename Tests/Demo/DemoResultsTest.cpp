// What makes the demo's results readable: range captions short but never ambiguous, and class
// colours that neighbours never share, however many classes there are.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "DemoClassColours.h"
#include "DemoColorRamp.h"
#include "DemoThemeBuilder.h"

using namespace KRN;

TEST(DemoResults, BreakCaptionsUseTheFewestDigitsThatKeepNeighboursApart)
{
    const std::vector<std::pair<std::vector<double>, std::vector<std::string>>> rows = {
        {{0.0532857142857143, 0.0945714285714286}, {"0.053", "0.095"}},
        {{2494530, 6855713, 16296364, 39309783}, {"2500000", "6900000", "16000000", "39000000"}},
        // Two digits would make both 1000; the third keeps them apart
        {{1000, 1049, 1200}, {"1000", "1050", "1200"}},
        {{0.12345678, 0.12345679}, {"0.12345678", "0.12345679"}},
        {{-0.5, 0, 0.5}, {"-0.5", "0", "0.5"}},
        {{1.5e-7, 2.5e-7}, {"1.5e-07", "2.5e-07"}},
        {{7, 7, 8}, {"7", "7", "8"}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(DemoThemeBuilder::BreakTexts(row.first), row.second) << row.second.front();
    }
}

namespace {

// A grid of unit squares, feature (r, c) at row r and column c, sharing their edges
DemoLayer Grid(int rows, int columns)
{
    DemoLayer layer;
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < columns; ++c) {
            DemoFeature f;
            DemoPart part;
            part.rings.push_back({BSX::BsxPoint3D(c, r, 0), BSX::BsxPoint3D(c + 1, r, 0), BSX::BsxPoint3D(c + 1, r + 1, 0),
                                  BSX::BsxPoint3D(c, r + 1, 0), BSX::BsxPoint3D(c, r, 0)});
            f.parts.push_back(part);
            f.geometryType = 3;
            layer.features.push_back(std::move(f));
        }
    }
    return layer;
}

} // namespace

TEST(DemoResults, NeighbouringClassesNeverShareAColour)
{
    // Every square its own class: 400 classes over a palette of 12, each touching up to 8 others
    const int rows = 20, columns = 20;
    const DemoLayer layer = Grid(rows, columns);
    std::vector<int> featureClass(layer.features.size());
    for (size_t i = 0; i < featureClass.size(); ++i) featureClass[i] = static_cast<int>(i);
    const auto adjacency = DemoClassColours::Adjacency(layer, featureClass);
    // Inner squares touch 8 others (corners count): 2 * (19 * 20) edge pairs and 2 * 19 * 19 diagonals
    EXPECT_EQ(adjacency.size(), static_cast<size_t>(2 * 19 * 20 + 2 * 19 * 19));
    const std::vector<int> colour = DemoClassColours::Assign(rows * columns, adjacency);
    ASSERT_EQ(colour.size(), featureClass.size());
    for (const auto& e : adjacency) {
        EXPECT_NE(colour[static_cast<size_t>(e.first)], colour[static_cast<size_t>(e.second)]) << e.first << "-" << e.second;
    }
    EXPECT_LE(*std::max_element(colour.begin(), colour.end()), DemoColorRamp::kQualitativeSize - 1);

    // Classes that touch nothing still spread over the whole palette instead of taking one colour
    const std::vector<int> apart = DemoClassColours::Assign(60, {});
    std::vector<int> uses(DemoColorRamp::kQualitativeSize, 0);
    for (int k : apart) ++uses[static_cast<size_t>(k)];
    EXPECT_EQ(*std::min_element(uses.begin(), uses.end()), 5);
    EXPECT_EQ(*std::max_element(uses.begin(), uses.end()), 5);

    // A class touching more classes than the palette holds gets a colour beyond it, unlike any
    std::vector<std::pair<int, int>> star;
    for (int k = 1; k <= 13; ++k) star.emplace_back(0, k);
    for (int k = 1; k < 13; ++k) star.emplace_back(k, k + 1);
    const std::vector<int> wheel = DemoClassColours::Assign(14, star);
    for (const auto& e : star) EXPECT_NE(wheel[static_cast<size_t>(e.first)], wheel[static_cast<size_t>(e.second)]);
}
