#pragma once
// The 3D scene the demo writes: coloured triangles, line strips and points in Earth-centred,
// Earth-fixed coordinates (WGS84, metres), built from features and chart solids.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "BsxGeometry.h"
#include "DemoLayer.h"
#include "KrColorValue3D.h"
#include "KrGeometry.h"
#include "KrStyle.h"

namespace KRN {

struct DemoVertex {
    double x = 0.0, y = 0.0, z = 0.0;
    float nx = 0.0f, ny = 0.0f, nz = 1.0f;
    std::array<std::uint8_t, 4> rgba{{255, 255, 255, 255}};
    // Index of the layer feature the vertex belongs to, so that a viewer can pick features
    std::uint32_t feature = 0;
};

class DemoScene {
public:
    // Longitude and latitude in degrees and height in metres to Earth-centred coordinates
    static BSX::BsxPoint3D ToEcef(double lon, double lat, double height);
    static std::array<std::uint8_t, 4> ToRgba(const KrColorValue3D& colour);

    // Heights the styles give (extrusion, bottom altitude, chart sizes) are multiplied by this
    void SetHeightScale(double scale) { m_heightScale = scale; }
    double GetHeightScale() const { return m_heightScale; }

    // Vertices added from now on belong to this feature of the layer; its name is kept for
    // the scene's feature table (features never begun keep an empty name)
    void BeginFeature(std::uint32_t id, const std::string& name);
    // Names of the features by id; as many as the highest id begun plus one
    const std::vector<std::string>& GetFeatureNames() const { return m_featureNames; }

    // A feature's geometry in a style: regions filled (extruded when the style has a height),
    // lines as strips, points as points
    void AddFeature(const DemoFeature& feature, const KrStyle& style);
    // A chart compound from the graph theme: its cylinders and pie slices as solids
    void AddChart(const KrGeometry& chart);

    const std::vector<DemoVertex>& GetTriangles() const { return m_triangles; }
    const std::vector<DemoVertex>& GetLineVertices() const { return m_lines; }
    // First vertex and vertex count of each strip in GetLineVertices
    const std::vector<std::pair<size_t, size_t>>& GetStrips() const { return m_strips; }
    const std::vector<DemoVertex>& GetPoints() const { return m_points; }
    size_t GetTriangleCount() const { return m_triangles.size() / 3; }

    // Appends one triangle (ECEF corners); its normal faces away from the Earth's centre when
    // outward is set. Degenerate triangles are dropped.
    void AddTriangle(const BSX::BsxPoint3D& a, const BSX::BsxPoint3D& b, const BSX::BsxPoint3D& c,
                     const std::array<std::uint8_t, 4>& rgba, bool outward);
    // An upright solid of elliptic section standing on lon/lat/base: radii along east and north
    // at the bottom and (scaled by topScale) at the top, in metres; a slice between two angles
    // (degrees counter-clockwise from east) or the whole round when they span 360
    void AddCylinder(double lon, double lat, double base, double radiusEast, double radiusNorth, double topScale,
                     double height, double startDeg, double endDeg, const std::array<std::uint8_t, 4>& rgba);

private:
    void AddRegion(const DemoPart& part, const KrStyle& style);
    void AddSurfaceTriangle(const BSX::BsxPoint3D& a, const BSX::BsxPoint3D& b, const BSX::BsxPoint3D& c, double h,
                            const std::array<std::uint8_t, 4>& rgba, int depth);

    DemoVertex NewVertex(const BSX::BsxPoint3D& at, const std::array<std::uint8_t, 4>& rgba) const;

    double m_heightScale = 1.0;
    std::uint32_t m_feature = 0;
    std::vector<std::string> m_featureNames;
    std::vector<DemoVertex> m_triangles;
    std::vector<DemoVertex> m_lines;
    std::vector<std::pair<size_t, size_t>> m_strips;
    std::vector<DemoVertex> m_points;
};

} // namespace KRN
