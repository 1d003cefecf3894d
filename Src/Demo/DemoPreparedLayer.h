#pragma once
// The surfaces of a layer's regions, made once per layer and shared by every theme drawn on it:
// rings unwrapped across the antimeridian, repaired, split back into [-180, 180], polar rings
// closed through their pole, then triangulated into a conforming mesh fine enough to follow the
// globe. Regions also get their label anchor at the pole of inaccessibility of their largest part.
// Each instance keeps its own GEOS context, so that threads can prepare layers side by side with
// one instance each.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "BsxGeometry.h"
#include "DemoLayer.h"

namespace KRN {

// The prepared surface of one feature, in degrees of longitude and latitude
struct DemoMesh {
    std::vector<BSX::BsxPoint3D> vertices;
    // Three vertex indices per triangle, counter-clockwise seen from above
    std::vector<std::uint32_t> triangles;
    // The vertices on the ground in Earth-centred coordinates (metres), as most themes draw them
    std::vector<BSX::BsxPoint3D> ground;
    // Outlines of the repaired parts (outer rings counter-clockwise, holes clockwise), closed
    // (first point repeated) and cut so that no edge is longer than the mesh's edges
    std::vector<std::vector<BSX::BsxPoint3D>> rings;
};

struct DemoPrepareStats {
    size_t inputVertices = 0;
    size_t repairedFeatures = 0;
    size_t splitFeatures = 0;
    size_t triangles = 0;
    // Vertices of all meshes together
    size_t meshVertices = 0;
};

class DemoPreparedLayer {
public:
    // No edge of the mesh is longer than this many degrees, so that flat triangles stay within
    // about a kilometre of the curved surface
    static constexpr double kMaxEdgeDegrees = 2.0;

    // Longitude and latitude in degrees and height in metres on the WGS84 ellipsoid to
    // Earth-centred, Earth-fixed coordinates in metres
    static BSX::BsxPoint3D ToEcef(double lon, double lat, double height);

    DemoPreparedLayer();
    ~DemoPreparedLayer();
    DemoPreparedLayer(const DemoPreparedLayer&) = delete;
    DemoPreparedLayer& operator=(const DemoPreparedLayer&) = delete;

    // Prepares every region of the layer and moves the regions' anchors to their poles of
    // inaccessibility; features of other kinds keep an empty mesh and their anchor
    void Prepare(DemoLayer& layer);
    // The mesh of one feature from the same polygon parts, and its anchor when asked for one
    // (finding the pole of inaccessibility costs far more than the mesh of a small polygon);
    // false when the parts hold no area (the anchor is then left alone)
    bool PrepareFeature(const std::vector<DemoPart>& parts, DemoMesh& mesh, BSX::BsxPoint3D* anchor);

    const DemoMesh& GetMesh(size_t feature) const { return m_meshes.at(feature); }
    size_t GetFeatureCount() const { return m_meshes.size(); }
    const DemoPrepareStats& GetStats() const { return m_stats; }

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
    std::vector<DemoMesh> m_meshes;
    DemoPrepareStats m_stats;
};

} // namespace KRN
