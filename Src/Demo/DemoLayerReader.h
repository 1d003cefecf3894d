#pragma once
// Reads a vector layer of any format GDAL/OGR knows into a DemoLayer.
#include <string>

#include "DemoLayer.h"

namespace KRN {

class DemoLayerReader {
public:
    // Reads the layer of that name (the first layer when empty) of the data set at path.
    // False with a message in error when the file cannot be opened or has no such layer.
    static bool Read(const std::string& path, const std::string& layerName, DemoLayer& layer, std::string& error);
};

} // namespace KRN
