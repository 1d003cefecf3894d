#pragma once
// The 3D scene the demo writes: coloured triangles and line segments over shared vertices in
// Earth-centred, Earth-fixed coordinates (WGS84, metres), built from features and chart solids.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "BsxGeometry.h"
#include "DemoLayer.h"
#include "DemoPreparedLayer.h"
#include "KrColorValue3D.h"
#include "KrGeometry.h"
#include "KrStyle.h"

namespace KRN {

// Surfaces carry no normals: they are drawn unlit, and viewers that light them compute the
// flat normals of their triangles, which is what a map of flat-coloured regions wants
struct DemoVertex {
    double x = 0.0, y = 0.0, z = 0.0;
    std::array<std::uint8_t, 4> rgba{{255, 255, 255, 255}};
    // Index of the layer feature the vertex belongs to, so that a viewer can pick features
    std::uint32_t feature = 0;

    BSX::BsxPoint3D Position() const { return BSX::BsxPoint3D(x, y, z); }
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

    // Sides of the round solids of charts, and of the markers that stand for points
    static constexpr int kCircleSegments = 32;
    static constexpr int kMarkerSides = 6;
    // Room for this many triangle vertices and indices, so that large layers grow no copies
    void Reserve(size_t vertices, size_t indices);
    // Radius in metres of the markers that stand for points
    void SetMarkerRadius(double metres) { m_markerRadius = metres; }

    // A feature's geometry in a style: regions as their prepared mesh (extruded when the style
    // has a height; nothing without a mesh), lines as segments, points as markers (columns as
    // tall as the style's extrusion when it has one)
    void AddFeature(const DemoFeature& feature, const DemoMesh* mesh, const KrStyle& style);
    // A chart compound from the graph theme: its cylinders and pie slices as solids
    void AddChart(const KrGeometry& chart);

    // Triangles: three indices into GetVertices each
    const std::vector<DemoVertex>& GetVertices() const { return m_vertices; }
    const std::vector<std::uint32_t>& GetIndices() const { return m_indices; }
    // Line segments: two indices into GetLineVertices each
    const std::vector<DemoVertex>& GetLineVertices() const { return m_lineVertices; }
    const std::vector<std::uint32_t>& GetLineIndices() const { return m_lineIndices; }
    size_t GetTriangleCount() const { return m_indices.size() / 3; }

    // An upright solid of elliptic section standing on lon/lat/base: radii along east and north
    // at the bottom and (scaled by topScale) at the top, in metres; a slice between two angles
    // (degrees counter-clockwise from east) or the whole round when they span 360. Without bottom
    // it has no bottom face: chart solids stand on the ground or on the solid below, where a
    // bottom would never show, or would fight the top below it for the same pixels.
    void AddCylinder(double lon, double lat, double base, double radiusEast, double radiusNorth, double topScale,
                     double height, double startDeg, double endDeg, const std::array<std::uint8_t, 4>& rgba,
                     int roundSegments = kCircleSegments, bool bottom = true);

private:
    void AddRegion(const DemoMesh& mesh, const KrStyle& style);
    void AddMarker(double lon, double lat, double base, const KrStyle& style);
    std::uint32_t AddVertex(const BSX::BsxPoint3D& at, const std::array<std::uint8_t, 4>& rgba);
    // One triangle over three of the vertices, wound to face away from the Earth's centre when
    // outward is set; degenerate triangles are dropped
    void AddTriangle(std::uint32_t a, std::uint32_t b, std::uint32_t c, bool outward);
    DemoVertex NewVertex(const BSX::BsxPoint3D& at, const std::array<std::uint8_t, 4>& rgba) const;

    // The vertices of the mesh being extruded, by longitude and latitude, so that each outline
    // point finds its vertex on the top: an open-addressed table of vertex numbers plus one
    void IndexMesh(const DemoMesh& mesh);
    // The number of the mesh vertex at p; all bits set when there is none
    std::uint32_t FindMeshVertex(const DemoMesh& mesh, const BSX::BsxPoint3D& p) const;
    std::vector<std::uint32_t> m_meshSlots;
    std::vector<std::uint32_t> m_feet, m_heads;

    double m_heightScale = 1.0;
    std::uint32_t m_feature = 0;
    std::vector<std::string> m_featureNames;
    double m_markerRadius = 1000.0;
    std::vector<DemoVertex> m_vertices;
    std::vector<std::uint32_t> m_indices;
    std::vector<DemoVertex> m_lineVertices;
    std::vector<std::uint32_t> m_lineIndices;
};

} // namespace KRN
