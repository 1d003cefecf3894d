#include "DemoPreparedLayer.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <utility>

#include <CGAL/Constrained_Delaunay_triangulation_2.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Polygon_2_algorithms.h>
#include <CGAL/Triangulation_face_base_with_info_2.h>
#include <CGAL/Triangulation_vertex_base_with_info_2.h>
#include <geos_c.h>
#include <meshoptimizer.h>

#include "KrGeometry.h"

namespace KRN {

namespace {

using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
// Index of the vertex in the mesh, once a triangle of the region uses it
using VertexBase = CGAL::Triangulation_vertex_base_with_info_2<std::uint32_t, Kernel>;
// How many outlines a face lies inside; odd is inside the region (-1: not reached yet)
using FaceInfoBase = CGAL::Triangulation_face_base_with_info_2<int, Kernel>;
using FaceBase = CGAL::Constrained_triangulation_face_base_2<Kernel, FaceInfoBase>;
using Tds = CGAL::Triangulation_data_structure_2<VertexBase, FaceBase>;
// Repaired outlines do not cross, but float rounding of the split and the cut edges may bring
// two outlines to touch: the exact-predicates tag lets such constraints meet
using Cdt = CGAL::Constrained_Delaunay_triangulation_2<Kernel, Tds, CGAL::Exact_predicates_tag>;

constexpr std::uint32_t kUnset = 0xFFFFFFFFu;
// Edges and vertices the glTF compression's triangle codec remembers
constexpr unsigned kCodecWindow = 16;
// Latitudes this close to a pole (about a kilometre) are taken to be on it
constexpr double kPolarLatitude = 89.99;
using Ring = std::vector<BSX::BsxPoint3D>;

// Longitudes of a closed ring made continuous: each step takes the short way round, so that a
// ring drawn across the antimeridian (or with vertices on both of its sides) becomes one piece
// that may reach past 180 degrees. Latitudes within a few metres of a pole are moved onto it.
// A ring whose unwrapped end lies a whole turn from its start goes round a pole (Antarctica's
// coast): it is closed along the meridians of its ends through that pole and reported as polar.
Ring Unwrap(const Ring& ring, bool& polar)
{
    Ring out;
    out.reserve(ring.size() + 4);
    auto add = [&out](BSX::BsxPoint3D q) {
        if (std::fabs(q.y) >= kPolarLatitude) q.y = q.y < 0.0 ? -90.0 : 90.0;
        // Coordinates that need no turn keep their exact value, so that closed rings stay closed
        if (!out.empty() && std::fabs(q.x - out.back().x) > 180.0) q.x = out.back().x + std::remainder(q.x - out.back().x, 360.0);
        out.push_back(q);
    };
    for (const BSX::BsxPoint3D& p : ring) add(BSX::BsxPoint3D(p.x, p.y, 0.0));
    if (out.size() >= 2 && (ring.front().x != ring.back().x || ring.front().y != ring.back().y))
        add(BSX::BsxPoint3D(ring.front().x, ring.front().y, 0.0));
    polar = out.size() >= 3 && std::fabs(out.back().x - out.front().x) > 180.0;
    // A ring that closed on a wrapped step lands on its start up to rounding: close it exactly
    if (!polar && !out.empty() && std::fabs(out.back().x - out.front().x) < 1e-9) out.back().x = out.front().x;
    if (polar) {
        double sumLat = 0.0;
        for (const BSX::BsxPoint3D& p : out) sumLat += p.y;
        const double pole = sumLat < 0.0 ? -90.0 : 90.0;
        const double endX = out.back().x;
        out.push_back(BSX::BsxPoint3D(endX, pole, 0.0));
        out.push_back(BSX::BsxPoint3D(out.front().x, pole, 0.0));
        out.push_back(out.front());
    }
    return out;
}

bool AtPole(const Ring& ring)
{
    return std::all_of(ring.begin(), ring.end(), [](const BSX::BsxPoint3D& p) { return std::fabs(p.y) == 90.0; });
}

// Moves a ring by whole turns so that its first point lies within half a turn of a longitude
void ShiftNear(Ring& ring, double longitude)
{
    if (ring.empty()) return;
    const double shift = 360.0 * std::round((longitude - ring.front().x) / 360.0);
    if (shift == 0.0) return;
    for (BSX::BsxPoint3D& p : ring) p.x += shift;
}

// Cuts every edge longer than the mesh's edge length into equal pieces; a pure function of the
// edge, so that two outlines sharing an edge cut it at the same points
void Densify(const std::vector<double>& xy, double offset, Ring& out)
{
    const size_t n = xy.size() / 2;
    out.clear();
    out.reserve(n + 8);
    for (size_t i = 0; i < n; ++i) {
        const BSX::BsxPoint3D p(xy[2 * i] + offset, xy[2 * i + 1], 0.0);
        if (i > 0) {
            // A copy: the pieces below grow the ring and may move its storage
            const BSX::BsxPoint3D a = out.back();
            const double len = std::hypot(p.x - a.x, p.y - a.y);
            const int pieces = static_cast<int>(std::min(10000.0, std::ceil(len / DemoPreparedLayer::kMaxEdgeDegrees)));
            for (int s = 1; s < pieces; ++s) {
                const double t = static_cast<double>(s) / pieces;
                out.push_back(BSX::BsxPoint3D(a.x + (p.x - a.x) * t, a.y + (p.y - a.y) * t, 0.0));
            }
            if (p.x == a.x && p.y == a.y) continue;
        }
        out.push_back(p);
    }
}

// Twice the signed area of a closed ring of x, y pairs (positive when counter-clockwise)
double TwiceArea(const std::vector<double>& xy)
{
    double twiceArea = 0.0;
    for (size_t i = 0; i + 3 < xy.size(); i += 2) twiceArea += xy[i] * xy[i + 3] - xy[i + 2] * xy[i + 1];
    return twiceArea;
}

// One closed outline of x, y pairs, turned counter-clockwise when it is an outer ring and
// clockwise for a hole, cut to the mesh's edge length and kept among the mesh's rings
void AddOutline(std::vector<double>& xy, bool outer, double offset, DemoMesh& mesh)
{
    if ((TwiceArea(xy) > 0.0) != outer) {
        for (size_t i = 0, j = xy.size() / 2 - 1; i < j; ++i, --j) {
            std::swap(xy[2 * i], xy[2 * j]);
            std::swap(xy[2 * i + 1], xy[2 * j + 1]);
        }
    }
    mesh.rings.emplace_back();
    Densify(xy, offset, mesh.rings.back());
}

// The outline of a feature that is one ring on one side of the antimeridian, not round a pole
// and simple by exact predicates (no crossing, touching or repeated vertex, some area), as most
// features of a detailed layer are (a building, a parcel): such a ring is a valid polygon as it
// stands, and needs neither GEOS's check nor its repair. Empty for any other feature.
std::vector<double> PlainOutline(const std::vector<DemoPart>& parts)
{
    std::vector<double> xy;
    if (parts.size() != 1 || parts.front().rings.size() != 1 || parts.front().rings.front().size() < 4) return xy;
    bool polar = false;
    const Ring ring = Unwrap(parts.front().rings.front(), polar);
    if (polar || ring.size() < 4) return xy;
    std::vector<Kernel::Point_2> points;
    points.reserve(ring.size());
    for (size_t i = 0; i + 1 < ring.size(); ++i) {
        const BSX::BsxPoint3D& p = ring[i];
        if (p.x < -180.0 || p.x > 180.0 || std::fabs(p.y) >= 90.0) return xy;
        points.emplace_back(p.x, p.y);
    }
    if (!CGAL::is_simple_2(points.begin(), points.end(), Kernel()) ||
        CGAL::polygon_area_2(points.begin(), points.end(), Kernel()) == 0.0)
        return xy;
    xy.reserve(ring.size() * 2);
    for (const BSX::BsxPoint3D& p : ring) xy.push_back(p.x), xy.push_back(p.y);
    return xy;
}

// Marks every face with the number of outlines around it, flooding from the outside across
// unconstrained edges and stepping one level deeper across each outline
void MarkNesting(Cdt& cdt)
{
    for (auto f = cdt.all_faces_begin(); f != cdt.all_faces_end(); ++f) f->info() = -1;
    std::vector<Cdt::Edge> border;
    std::vector<Cdt::Face_handle> stack;
    auto flood = [&](Cdt::Face_handle start, int level) {
        if (start->info() != -1) return;
        start->info() = level;
        stack.push_back(start);
        while (!stack.empty()) {
            Cdt::Face_handle f = stack.back();
            stack.pop_back();
            for (int i = 0; i < 3; ++i) {
                Cdt::Face_handle n = f->neighbor(i);
                if (n->info() != -1) continue;
                if (cdt.is_constrained(Cdt::Edge(f, i))) {
                    border.emplace_back(f, i);
                } else {
                    n->info() = level;
                    stack.push_back(n);
                }
            }
        }
    };
    flood(cdt.infinite_face(), 0);
    while (!border.empty()) {
        const Cdt::Edge e = border.back();
        border.pop_back();
        Cdt::Face_handle n = e.first->neighbor(e.second);
        if (n->info() == -1) flood(n, e.first->info() + 1);
    }
}

// The mesh of the outlines kept in a mesh
void Triangulate(DemoMesh& mesh)
{
    // One constrained triangulation of all the outlines, with a grid of inner points so that
    // no triangle spans more than a few degrees; the nesting of the outlines tells inside
    Cdt cdt;
    double lo[2] = {1e300, 1e300}, hi[2] = {-1e300, -1e300};
    for (const Ring& ring : mesh.rings) {
        if (ring.size() < 4) continue;
        for (const BSX::BsxPoint3D& p : ring) {
            lo[0] = std::min(lo[0], p.x), hi[0] = std::max(hi[0], p.x);
            lo[1] = std::min(lo[1], p.y), hi[1] = std::max(hi[1], p.y);
        }
        std::vector<Kernel::Point_2> points;
        points.reserve(ring.size());
        for (const BSX::BsxPoint3D& p : ring) points.emplace_back(p.x, p.y);
        cdt.insert_constraint(points.begin(), points.end(), false);
    }
    if (cdt.number_of_vertices() < 3) return;
    const double step = DemoPreparedLayer::kMaxEdgeDegrees;
    for (double x = std::ceil(lo[0] / step) * step; x < hi[0]; x += step) {
        for (double y = std::ceil(lo[1] / step) * step; y < hi[1]; y += step) {
            if (x > lo[0] && y > lo[1]) cdt.insert(Kernel::Point_2(x, y));
        }
    }
    MarkNesting(cdt);
    mesh.vertices.reserve(cdt.number_of_vertices());
    mesh.ground.reserve(cdt.number_of_vertices());
    mesh.triangles.reserve(3 * cdt.number_of_faces());
    for (auto v = cdt.finite_vertices_begin(); v != cdt.finite_vertices_end(); ++v) v->info() = kUnset;
    for (auto f = cdt.finite_faces_begin(); f != cdt.finite_faces_end(); ++f) {
        if (f->info() % 2 != 1) continue;
        for (int k = 0; k < 3; ++k) {
            Cdt::Vertex_handle v = f->vertex(k);
            if (v->info() == kUnset) {
                v->info() = static_cast<std::uint32_t>(mesh.vertices.size());
                mesh.vertices.emplace_back(v->point().x(), v->point().y(), 0.0);
            }
            mesh.triangles.push_back(v->info());
        }
    }
    // The triangulation hands its faces out in storage order, which jumps across the region:
    // the triangles are put in an order that keeps reusing recent corners, and the vertices in
    // the order those triangles first use them. Every scene drawn from the mesh keeps both, and
    // the .glb writer's compression (meshoptimizer's codecs, which code each triangle from the
    // ones just before it and each vertex from the one before) then needs about half the bytes
    // for the triangles and fewer for the positions; done once per mesh here, not per scene. A
    // mesh of a few triangles fits the codec's window of recent edges in any order.
    const size_t vertexCount = mesh.vertices.size();
    if (mesh.triangles.size() > 3 * kCodecWindow) {
        meshopt_optimizeVertexCacheFifo(mesh.triangles.data(), mesh.triangles.data(), mesh.triangles.size(), vertexCount,
                                        kCodecWindow);
        std::vector<std::uint32_t> order(vertexCount);
        meshopt_optimizeVertexFetchRemap(order.data(), mesh.triangles.data(), mesh.triangles.size(), vertexCount);
        for (std::uint32_t& corner : mesh.triangles) corner = order[corner];
        const std::vector<BSX::BsxPoint3D> found(mesh.vertices);
        for (size_t k = 0; k < vertexCount; ++k) mesh.vertices[order[k]] = found[k];
    }
    for (const BSX::BsxPoint3D& p : mesh.vertices) mesh.ground.push_back(DemoPreparedLayer::ToEcef(p.x, p.y, 0.0));
}

} // namespace

struct DemoPreparedLayer::Impl {
    GEOSContextHandle_t geos;
    GEOSMakeValidParams* repair;

    Impl() : geos(GEOS_init_r()), repair(nullptr)
    {
        // Invalid input polygons are expected; they are repaired, or skipped when they hold nothing
        GEOSContext_setErrorMessageHandler_r(geos, [](const char*, void*) {}, nullptr);
        GEOSContext_setNoticeMessageHandler_r(geos, [](const char*, void*) {}, nullptr);
        repair = GEOSMakeValidParams_create_r(geos);
        // The structure method keeps the rings' roles (outer rings filled, holes cut out), which
        // is what a drawn country means, and is an order of magnitude faster than re-noding all
        // of the linework
        GEOSMakeValidParams_setMethod_r(geos, repair, GEOS_MAKE_VALID_STRUCTURE);
        GEOSMakeValidParams_setKeepCollapsed_r(geos, repair, 0);
    }
    ~Impl()
    {
        GEOSMakeValidParams_destroy_r(geos, repair);
        GEOS_finish_r(geos);
    }

    struct Deleter {
        GEOSContextHandle_t geos;
        void operator()(GEOSGeometry* g) const
        {
            if (g) GEOSGeom_destroy_r(geos, g);
        }
    };
    using Geom = std::unique_ptr<GEOSGeometry, Deleter>;
    Geom Own(GEOSGeometry* g) const { return Geom(g, Deleter{geos}); }

    GEOSGeometry* MakeRing(const Ring& ring) const
    {
        if (ring.size() < 4) return nullptr;
        std::vector<double> xy;
        xy.reserve(ring.size() * 2);
        for (const BSX::BsxPoint3D& p : ring) xy.push_back(p.x), xy.push_back(p.y);
        GEOSCoordSequence* seq = GEOSCoordSeq_copyFromBuffer_r(geos, xy.data(), static_cast<unsigned>(ring.size()), 0, 0);
        return seq ? GEOSGeom_createLinearRing_r(geos, seq) : nullptr;
    }

    // The parts as polygons in unwrapped longitudes (the caller owns them), holes moved next to
    // their shell.
    // A part with rings round a pole holds what lies between them (a polar outer ring and the
    // coast as its hole, as spherical data draws Antarctica): the exclusive or of their caps.
    std::vector<GEOSGeometry*> Unwrapped(const std::vector<DemoPart>& parts, size_t& vertices) const
    {
        std::vector<GEOSGeometry*> polygons;
        for (const DemoPart& part : parts) {
            std::vector<Ring> caps, plain;
            for (const Ring& ring : part.rings) {
                vertices += ring.size();
                bool polar = false;
                Ring u = Unwrap(ring, polar);
                if (AtPole(u)) continue;
                (polar ? caps : plain).push_back(std::move(u));
            }
            if (caps.empty()) {
                AddPlain(plain, polygons);
                continue;
            }
            Geom band = Own(nullptr);
            for (const Ring& cap : caps) {
                Geom next = Own(MakePolygon(cap));
                if (!next) continue;
                band = Own(band ? GEOSSymDifference_r(geos, band.get(), next.get()) : next.release());
                if (!band) break;
            }
            for (Ring& hole : plain) {
                Geom h = Own(MakePolygon(hole));
                if (band && h) band = Own(GEOSDifference_r(geos, band.get(), h.get()));
            }
            std::vector<const GEOSGeometry*> pieces;
            if (band) Polygons(band.get(), pieces);
            for (const GEOSGeometry* piece : pieces) polygons.push_back(GEOSGeom_clone_r(geos, piece));
        }
        return polygons;
    }

    GEOSGeometry* MakePolygon(const Ring& ring) const
    {
        GEOSGeometry* shell = MakeRing(ring);
        GEOSGeometry* polygon = shell ? GEOSGeom_createPolygon_r(geos, shell, nullptr, 0) : nullptr;
        // A cap drawn inside out is made valid before it takes part in the exclusive or
        if (polygon && GEOSisValid_r(geos, polygon) != 1) {
            GEOSGeometry* valid = GEOSMakeValidWithParams_r(geos, polygon, repair);
            GEOSGeom_destroy_r(geos, polygon);
            polygon = valid;
        }
        return polygon;
    }

    // A shell and its holes, the holes moved by whole turns next to the shell
    void AddPlain(std::vector<Ring>& rings, std::vector<GEOSGeometry*>& polygons) const
    {
        if (rings.empty()) return;
        GEOSGeometry* shell = MakeRing(rings.front());
        if (!shell) return;
        double lo = rings.front().front().x, hi = lo;
        for (const BSX::BsxPoint3D& p : rings.front()) lo = std::min(lo, p.x), hi = std::max(hi, p.x);
        std::vector<GEOSGeometry*> holes;
        for (size_t r = 1; r < rings.size(); ++r) {
            ShiftNear(rings[r], (lo + hi) * 0.5);
            if (GEOSGeometry* h = MakeRing(rings[r])) holes.push_back(h);
        }
        GEOSGeometry* polygon = GEOSGeom_createPolygon_r(geos, shell, holes.empty() ? nullptr : holes.data(),
                                                          static_cast<unsigned>(holes.size()));
        if (polygon) polygons.push_back(polygon);
    }

    // Appends the polygons of a geometry (whatever collection the repair made of it)
    void Polygons(const GEOSGeometry* g, std::vector<const GEOSGeometry*>& out) const
    {
        const int type = GEOSGeomTypeId_r(geos, g);
        if (type == GEOS_POLYGON) {
            if (!GEOSisEmpty_r(geos, g)) out.push_back(g);
        } else if (type == GEOS_MULTIPOLYGON || type == GEOS_GEOMETRYCOLLECTION) {
            const int n = GEOSGetNumGeometries_r(geos, g);
            for (int i = 0; i < n; ++i) Polygons(GEOSGetGeometryN_r(geos, g, i), out);
        }
    }

    // One outline, turned counter-clockwise when it is an outer ring and clockwise for a hole
    void AddRing(const GEOSGeometry* ring, bool outer, double offset, DemoMesh& mesh) const
    {
        const GEOSCoordSequence* seq = ring ? GEOSGeom_getCoordSeq_r(geos, ring) : nullptr;
        unsigned size = 0;
        if (!seq || !GEOSCoordSeq_getSize_r(geos, seq, &size) || size < 4) return;
        std::vector<double> xy(static_cast<size_t>(size) * 2);
        GEOSCoordSeq_copyToBuffer_r(geos, seq, xy.data(), 0, 0);
        AddOutline(xy, outer, offset, mesh);
    }

    void AddPolygon(const GEOSGeometry* polygon, double offset, DemoMesh& mesh) const
    {
        AddRing(GEOSGetExteriorRing_r(geos, polygon), true, offset, mesh);
        const int holes = GEOSGetNumInteriorRings_r(geos, polygon);
        for (int h = 0; h < holes; ++h) AddRing(GEOSGetInteriorRingN_r(geos, polygon, h), false, offset, mesh);
    }
};

BSX::BsxPoint3D DemoPreparedLayer::ToEcef(double lon, double lat, double height)
{
    constexpr double kDeg = 3.14159265358979323846 / 180.0;
    constexpr double kSemiMajor = 6378137.0;
    constexpr double kFlattening = 1.0 / 298.257223563;
    const double e2 = kFlattening * (2.0 - kFlattening);
    const double sinLat = std::sin(lat * kDeg), cosLat = std::cos(lat * kDeg);
    const double n = kSemiMajor / std::sqrt(1.0 - e2 * sinLat * sinLat);
    return BSX::BsxPoint3D((n + height) * cosLat * std::cos(lon * kDeg), (n + height) * cosLat * std::sin(lon * kDeg),
                           (n * (1.0 - e2) + height) * sinLat);
}

DemoPreparedLayer::DemoPreparedLayer() : m_impl(new Impl) {}

DemoPreparedLayer::~DemoPreparedLayer() = default;

void DemoPreparedLayer::Prepare(DemoLayer& layer)
{
    m_meshes.assign(layer.features.size(), DemoMesh());
    m_stats = DemoPrepareStats();
    for (size_t i = 0; i < layer.features.size(); ++i) {
        DemoFeature& f = layer.features[i];
        if (f.geometryType % 100 != KrGeometry::GEO_REGION) continue;
        BSX::BsxPoint3D anchor;
        if (PrepareFeature(f.parts, m_meshes[i], &anchor)) {
            f.anchor = anchor;
            f.hasAnchor = true;
        }
        m_stats.triangles += m_meshes[i].triangles.size() / 3;
        m_stats.meshVertices += m_meshes[i].vertices.size();
    }
}

bool DemoPreparedLayer::PrepareFeature(const std::vector<DemoPart>& parts, DemoMesh& mesh, BSX::BsxPoint3D* anchor)
{
    Impl& g = *m_impl;
    // Emptied, not replaced: a drawer preparing feature after feature keeps the storage
    mesh.vertices.clear();
    mesh.triangles.clear();
    mesh.ground.clear();
    mesh.rings.clear();
    std::vector<double> plain = anchor ? std::vector<double>() : PlainOutline(parts);
    if (!plain.empty()) {
        m_stats.inputVertices += parts.front().rings.front().size();
        AddOutline(plain, true, 0.0, mesh);
        Triangulate(mesh);
        return true;
    }
    // Each part is checked and repaired on its own: a country of a thousand islands costs a
    // thousand small checks instead of one overlay of them all, and only its faulty parts are
    // rebuilt. Parts that overlap one another are left as drawn.
    std::vector<Impl::Geom> owned;
    bool repaired = false;
    for (GEOSGeometry* raw : g.Unwrapped(parts, m_stats.inputVertices)) {
        Impl::Geom part = g.Own(raw);
        if (GEOSisValid_r(g.geos, part.get()) == 1) {
            owned.push_back(std::move(part));
            continue;
        }
        repaired = true;
        Impl::Geom fixed = g.Own(GEOSMakeValidWithParams_r(g.geos, part.get(), g.repair));
        std::vector<const GEOSGeometry*> pieces;
        if (fixed) g.Polygons(fixed.get(), pieces);
        for (const GEOSGeometry* piece : pieces) owned.push_back(g.Own(GEOSGeom_clone_r(g.geos, piece)));
    }
    if (repaired) ++m_stats.repairedFeatures;
    std::vector<const GEOSGeometry*> polygons;
    for (const Impl::Geom& p : owned) {
        if (p && !GEOSisEmpty_r(g.geos, p.get())) polygons.push_back(p.get());
    }
    if (polygons.empty()) return false;

    // The anchor: centre of the largest circle inside the largest part
    const GEOSGeometry* largest = nullptr;
    double largestArea = 0.0;
    for (const GEOSGeometry* p : polygons) {
        double area = 0.0;
        if (GEOSArea_r(g.geos, p, &area) && area > largestArea) largestArea = area, largest = p;
    }
    if (!largest) return false;
    double minX = 0, minY = 0, maxX = 0, maxY = 0;
    if (anchor) {
        GEOSGeom_getXMin_r(g.geos, largest, &minX), GEOSGeom_getXMax_r(g.geos, largest, &maxX);
        GEOSGeom_getYMin_r(g.geos, largest, &minY), GEOSGeom_getYMax_r(g.geos, largest, &maxY);
        const double tolerance = std::max(1e-6, std::max(maxX - minX, maxY - minY) / 1000.0);
        Impl::Geom circle = g.Own(GEOSMaximumInscribedCircle_r(g.geos, largest, tolerance));
        double cx = (minX + maxX) * 0.5, cy = (minY + maxY) * 0.5;
        if (circle) {
            const GEOSCoordSequence* seq = GEOSGeom_getCoordSeq_r(g.geos, circle.get());
            if (seq) GEOSCoordSeq_getXY_r(g.geos, seq, 0, &cx, &cy);
        }
        *anchor = BSX::BsxPoint3D(std::remainder(cx, 360.0), cy, 0.0);
        if (anchor->x == 180.0) anchor->x = -180.0;
    }

    // Back into [-180, 180]: each whole turn a part reaches into is clipped and moved home
    bool split = false;
    for (const GEOSGeometry* p : polygons) {
        GEOSGeom_getXMin_r(g.geos, p, &minX), GEOSGeom_getXMax_r(g.geos, p, &maxX);
        if (minX >= -180.0 && maxX <= 180.0) {
            g.AddPolygon(p, 0.0, mesh);
            continue;
        }
        split = true;
        for (int turn = static_cast<int>(std::floor((minX + 180.0) / 360.0));
             turn <= static_cast<int>(std::floor((maxX + 180.0) / 360.0)); ++turn) {
            const double west = -180.0 + 360.0 * turn;
            Impl::Geom box = g.Own(GEOSGeom_createRectangle_r(g.geos, west, -90.0, west + 360.0, 90.0));
            Impl::Geom piece = g.Own(box ? GEOSIntersection_r(g.geos, p, box.get()) : nullptr);
            if (!piece) continue;
            std::vector<const GEOSGeometry*> pieces;
            g.Polygons(piece.get(), pieces);
            for (const GEOSGeometry* q : pieces) g.AddPolygon(q, -360.0 * turn, mesh);
        }
    }
    if (split) ++m_stats.splitFeatures;

    Triangulate(mesh);
    return true;
}

} // namespace KRN
