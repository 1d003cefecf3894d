#pragma once
// Colours for the classes of a categorical theme such that neighbouring features of different
// classes never share a colour, however many classes there are.
#include <utility>
#include <vector>

#include "DemoLayer.h"
#include "KrColorValue3D.h"

namespace KRN {

class DemoClassColours {
public:
    // Pairs of different classes whose features touch (share a vertex); featureClass holds the
    // class of every feature of the layer, -1 for none. Each pair once, smaller class first.
    static std::vector<std::pair<int, int>> Adjacency(const DemoLayer& layer, const std::vector<int>& featureClass);
    // Palette index per class: all different while the classes fit the palette; beyond that a
    // colouring of the adjacency graph that also spreads the classes evenly over the colours
    static std::vector<int> Assign(int classCount, const std::vector<std::pair<int, int>>& adjacency);
};

} // namespace KRN
