#pragma once
// The scene manifest (scene.json) beside the demo's outputs: the layer and every theme drawn with
// the files that hold it, so that a viewer needs nothing but the manifest's folder.
#include <array>
#include <string>
#include <vector>

namespace KRN {

class DemoManifest {
public:
    // A theme and its files, relative to the manifest's folder; empty names are left out
    struct Theme {
        std::string name, kind;
        std::string glb, tileset, xml, legend, features, labels;
        double heightScale = 1.0;
    };

    // The layer's name, feature count and extent (west, south, east, north in degrees)
    DemoManifest(std::string layerName, unsigned long long features, const std::array<double, 4>& extent);
    void Add(const Theme& theme) { m_themes.push_back(theme); }
    std::string Json() const;
    // Writes DIR/scene.json whole or not at all; false with the reason
    bool Write(const std::string& dir, std::string& error) const;

private:
    std::string m_layer;
    unsigned long long m_features;
    std::array<double, 4> m_extent;
    std::vector<Theme> m_themes;
};

} // namespace KRN
