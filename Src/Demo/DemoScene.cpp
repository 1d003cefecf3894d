#include "DemoScene.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

#include "KrGeoCompound.h"
#include "KrGeoCylinder.h"
#include "KrGeoPieCylinder.h"

namespace KRN {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kDeg = kPi / 180.0;
constexpr double kPieStagger = 0.004;

// Twice the area of a triangle of Earth-centred corners; zero for the corners a pole collapses
double DoubleArea(const BSX::BsxPoint3D& a, const BSX::BsxPoint3D& b, const BSX::BsxPoint3D& c, double normal[3])
{
    const double ux = b.x - a.x, uy = b.y - a.y, uz = b.z - a.z;
    const double vx = c.x - a.x, vy = c.y - a.y, vz = c.z - a.z;
    normal[0] = uy * vz - uz * vy, normal[1] = uz * vx - ux * vz, normal[2] = ux * vy - uy * vx;
    return std::sqrt(normal[0] * normal[0] + normal[1] * normal[1] + normal[2] * normal[2]);
}

constexpr std::uint32_t kNoVertex = 0xFFFFFFFFu;

// Mixes the bits of a longitude and a latitude, for a table probed in sequence
size_t PlanarHash(const BSX::BsxPoint3D& p)
{
    std::uint64_t x = 0, y = 0;
    std::memcpy(&x, &p.x, sizeof x);
    std::memcpy(&y, &p.y, sizeof y);
    std::uint64_t h = x * 0x9E3779B97F4A7C15ull ^ y;
    h ^= h >> 31;
    h *= 0xBF58476D1CE4E5B9ull;
    return static_cast<size_t>(h ^ (h >> 29));
}

// An edge along the antimeridian cut or along a pole: the split pieces meet there, no wall stands
bool IsSeam(const BSX::BsxPoint3D& a, const BSX::BsxPoint3D& b)
{
    return (std::fabs(a.x) == 180.0 && a.x == b.x) || (std::fabs(a.y) == 90.0 && a.y == b.y);
}

} // namespace

void DemoScene::IndexMesh(const DemoMesh& mesh)
{
    size_t capacity = 16;
    while (capacity < 2 * mesh.vertices.size()) capacity *= 2;
    m_meshSlots.assign(capacity, 0);
    for (size_t k = 0; k < mesh.vertices.size(); ++k) {
        size_t at = PlanarHash(mesh.vertices[k]) & (capacity - 1);
        while (m_meshSlots[at] != 0) at = (at + 1) & (capacity - 1);
        m_meshSlots[at] = static_cast<std::uint32_t>(k + 1);
    }
}

std::uint32_t DemoScene::FindMeshVertex(const DemoMesh& mesh, const BSX::BsxPoint3D& p) const
{
    const size_t mask = m_meshSlots.size() - 1;
    for (size_t at = PlanarHash(p) & mask; m_meshSlots[at] != 0; at = (at + 1) & mask) {
        const BSX::BsxPoint3D& v = mesh.vertices[m_meshSlots[at] - 1];
        if (v.x == p.x && v.y == p.y) return m_meshSlots[at] - 1;
    }
    return kNoVertex;
}

BSX::BsxPoint3D DemoScene::ToEcef(double lon, double lat, double height)
{
    return DemoPreparedLayer::ToEcef(lon, lat, height);
}

std::array<std::uint8_t, 4> DemoScene::ToRgba(const KrColorValue3D& c)
{
    auto byte = [](double v) {
        if (!(v > 0.0)) return std::uint8_t(0);
        if (v >= 1.0) return std::uint8_t(255);
        return static_cast<std::uint8_t>(std::lround(v * 255.0));
    };
    return {{byte(c.r), byte(c.g), byte(c.b), byte(c.a)}};
}

void DemoScene::BeginFeature(std::uint32_t id, const std::string& name)
{
    m_feature = id;
    if (m_featureNames.size() <= id) m_featureNames.resize(static_cast<size_t>(id) + 1);
    m_featureNames[id] = name;
}

DemoVertex DemoScene::NewVertex(const BSX::BsxPoint3D& at, const std::array<std::uint8_t, 4>& rgba) const
{
    DemoVertex v;
    v.x = at.x, v.y = at.y, v.z = at.z;
    v.rgba = rgba;
    v.feature = m_feature;
    return v;
}

std::uint32_t DemoScene::AddVertex(const BSX::BsxPoint3D& at, const std::array<std::uint8_t, 4>& rgba)
{
    m_vertices.push_back(NewVertex(at, rgba));
    return static_cast<std::uint32_t>(m_vertices.size() - 1);
}

void DemoScene::AddTriangle(std::uint32_t a, std::uint32_t b, std::uint32_t c, bool outward)
{
    const DemoVertex &va = m_vertices[a], &vb = m_vertices[b], &vc = m_vertices[c];
    double n[3];
    const double len = DoubleArea(va.Position(), vb.Position(), vc.Position(), n);
    if (!(len > 1e-6) || !std::isfinite(len)) return;
    const bool flip = outward && n[0] * (va.x + vb.x + vc.x) + n[1] * (va.y + vb.y + vc.y) + n[2] * (va.z + vb.z + vc.z) < 0.0;
    m_indices.insert(m_indices.end(), {a, flip ? c : b, flip ? b : c});
}

void DemoScene::AddRegion(const DemoMesh& mesh, const KrStyle& style)
{
    const auto rgba = ToRgba(style.GetFillColor());
    const double extend = static_cast<double>(style.GetExtendHeight());
    const double bottom = static_cast<double>(style.GetBottomAltitude()) * m_heightScale;
    const double height = std::isfinite(extend) && extend > 0.0 ? extend * m_heightScale : 0.0;
    const double top = bottom + height;
    if (!std::isfinite(top) || mesh.triangles.empty()) return;

    // The surface shares its corners: one vertex per mesh vertex, triangles by index (the mesh
    // holds its corners on the ground already)
    // No exact reserve here: a scene takes thousands of features, and growing to the exact size
    // each time would copy everything drawn so far once per feature
    const std::uint32_t base = static_cast<std::uint32_t>(m_vertices.size());
    if (top == 0.0 && mesh.ground.size() == mesh.vertices.size()) {
        for (const BSX::BsxPoint3D& e : mesh.ground) AddVertex(e, rgba);
    } else {
        for (const BSX::BsxPoint3D& p : mesh.vertices) AddVertex(ToEcef(p.x, p.y, top), rgba);
    }
    auto atPole = [&mesh](std::uint32_t k) { return std::fabs(mesh.vertices[k].y) == 90.0; };
    for (size_t t = 0; t + 2 < mesh.triangles.size(); t += 3) {
        const std::uint32_t a = mesh.triangles[t], b = mesh.triangles[t + 1], c = mesh.triangles[t + 2];
        // Two corners on a pole are one point on the globe: the triangle has no area
        if (atPole(a) + atPole(b) + atPole(c) >= 2) continue;
        m_indices.insert(m_indices.end(), {base + a, base + b, base + c});
    }
    if (height <= 0.0) return;
    // Walls along every outline (outer rings counter-clockwise, so their faces look outwards): a
    // foot vertex per outline point, and for head the top's own vertex at that point, so that a
    // wall adds one vertex per point and the quads of a wall share them
    IndexMesh(mesh);
    for (const auto& ring : mesh.rings) {
        m_feet.clear();
        m_heads.clear();
        for (size_t k = 0; k < ring.size(); ++k) {
            const BSX::BsxPoint3D& p = ring[k];
            if (k > 0 && k + 1 == ring.size() && p.x == ring[0].x && p.y == ring[0].y) {
                m_feet.push_back(m_feet[0]);
                m_heads.push_back(m_heads[0]);
                break;
            }
            m_feet.push_back(AddVertex(ToEcef(p.x, p.y, bottom), rgba));
            // An outline point the triangulation moved (where outlines cross) gets a head of its own
            const std::uint32_t known = FindMeshVertex(mesh, p);
            m_heads.push_back(known != kNoVertex ? base + known : AddVertex(ToEcef(p.x, p.y, top), rgba));
        }
        for (size_t k = 0; k + 1 < ring.size(); ++k) {
            if (IsSeam(ring[k], ring[k + 1])) continue;
            const std::uint32_t f0 = m_feet[k], h0 = m_heads[k], f1 = m_feet[k + 1], h1 = m_heads[k + 1];
            m_indices.insert(m_indices.end(), {f0, f1, h1, f0, h1, h0});
        }
    }
}

void DemoScene::Reserve(size_t vertices, size_t indices)
{
    m_vertices.reserve(vertices);
    m_indices.reserve(indices);
}

void DemoScene::AddMarker(double lon, double lat, double base, const KrStyle& style)
{
    // A small upright prism stands for a point, or a column as tall as the style's extrusion
    const double extend = static_cast<double>(style.GetExtendHeight());
    const double height = std::isfinite(extend) && extend > 0.0 ? extend * m_heightScale : 2.0 * m_markerRadius;
    AddCylinder(lon, lat, base, m_markerRadius, m_markerRadius, 1.0, height, 0.0, 360.0, ToRgba(style.GetPointColor()),
                kMarkerSides);
}

void DemoScene::AddFeature(const DemoFeature& feature, const DemoMesh* mesh, const KrStyle& style)
{
    const int kind = feature.geometryType % 100;
    if (kind == KrGeometry::GEO_REGION) {
        if (mesh) AddRegion(*mesh, style);
        return;
    }
    for (const DemoPart& part : feature.parts) {
        if (kind == KrGeometry::GEO_LINE) {
            const auto rgba = ToRgba(style.GetLineColor3D());
            for (const auto& line : part.rings) {
                if (line.size() < 2) continue;
                const std::uint32_t first = static_cast<std::uint32_t>(m_lineVertices.size());
                for (const auto& p : line) {
                    const BSX::BsxPoint3D e = ToEcef(p.x, p.y, (std::isfinite(p.z) ? p.z : 0.0) * m_heightScale);
                    m_lineVertices.push_back(NewVertex(e, rgba));
                }
                for (std::uint32_t k = 0; k + 1 < line.size(); ++k) {
                    m_lineIndices.insert(m_lineIndices.end(), {first + k, first + k + 1});
                }
            }
        } else if (kind == KrGeometry::GEO_POINT) {
            for (const auto& ring : part.rings) {
                for (const auto& p : ring) AddMarker(p.x, p.y, (std::isfinite(p.z) ? p.z : 0.0) * m_heightScale, style);
            }
        }
    }
}

void DemoScene::AddCylinder(double lon, double lat, double base, double radiusEast, double radiusNorth,
                            double topScale, double height, double startDeg, double endDeg,
                            const std::array<std::uint8_t, 4>& rgba, int roundSegments, bool bottom)
{
    if (!(radiusEast > 0.0) || !(radiusNorth > 0.0) || !(height > 0.0) || !(topScale >= 0.0) ||
        !std::isfinite(radiusEast) || !std::isfinite(radiusNorth) || !std::isfinite(height) ||
        !std::isfinite(topScale) || !std::isfinite(base) || !std::isfinite(lon) || !std::isfinite(lat) ||
        !std::isfinite(startDeg) || !std::isfinite(endDeg))
        return;
    double sweep = endDeg - startDeg;
    if (!std::isfinite(sweep) || sweep <= 0.0) return;
    const bool full = sweep >= 360.0;
    if (full) sweep = 360.0;
    const double sinLat = std::sin(lat * kDeg), cosLat = std::cos(lat * kDeg);
    const double sinLon = std::sin(lon * kDeg), cosLon = std::cos(lon * kDeg);
    // East and north directions at the foot of the solid
    const double east[3] = {-sinLon, cosLon, 0.0};
    const double north[3] = {-sinLat * cosLon, -sinLat * sinLon, cosLat};
    const BSX::BsxPoint3D foot = ToEcef(lon, lat, base), head = ToEcef(lon, lat, base + height);
    auto rim = [&](const BSX::BsxPoint3D& centre, double angleDeg) {
        const double scale = &centre == &head ? topScale : 1.0;
        const double ca = std::cos(angleDeg * kDeg) * radiusEast * scale;
        const double sa = std::sin(angleDeg * kDeg) * radiusNorth * scale;
        return BSX::BsxPoint3D(centre.x + east[0] * ca + north[0] * sa, centre.y + east[1] * ca + north[1] * sa,
                               centre.z + east[2] * ca + north[2] * sa);
    };
    const int segments = std::max(1, static_cast<int>(std::ceil(std::max(3, roundSegments) * sweep / 360.0)));
    // The centres, then a foot and a head point per step round the rim: the top, the side and
    // the bottom share them (unlit faces need no normals of their own). A full round closes on
    // its first step.
    const int steps = full ? segments : segments + 1;
    const std::uint32_t footAt = AddVertex(foot, rgba), headAt = AddVertex(head, rgba);
    for (int s = 0; s < steps; ++s) {
        const double angle = startDeg + sweep * s / segments;
        AddVertex(rim(foot, angle), rgba);
        AddVertex(rim(head, angle), rgba);
    }
    auto footRim = [&](int s) { return headAt + 1 + 2 * static_cast<std::uint32_t>(s % steps); };
    auto headRim = [&](int s) { return headAt + 2 + 2 * static_cast<std::uint32_t>(s % steps); };
    for (int s = 0; s < segments; ++s) {
        AddTriangle(headAt, headRim(s), headRim(s + 1), true);
        if (bottom) AddTriangle(footAt, footRim(s + 1), footRim(s), false);
        AddTriangle(footRim(s), footRim(s + 1), headRim(s + 1), false);
        AddTriangle(footRim(s), headRim(s + 1), headRim(s), false);
    }
    if (!full) {
        // The two cut faces of a slice
        AddTriangle(footAt, footRim(0), headRim(0), false);
        AddTriangle(footAt, headRim(0), headAt, false);
        AddTriangle(footAt, headRim(segments), footRim(segments), false);
        AddTriangle(footAt, headAt, headRim(segments), false);
    }
}

void DemoScene::AddChart(const KrGeometry& chart)
{
    // Solids keep their own offsets: a compound hands every move on to its parts
    if (chart.GetType() == KrGeometry::GEO_COMPOUND) {
        const auto& compound = static_cast<const KrGeoCompound&>(chart);
        for (int i = 0; i < compound.GetCount(); ++i) {
            if (const KrGeometry* part = compound.GetAt(i)) AddChart(*part);
        }
        return;
    }
    const KrStyle* style = chart.GetStyle();
    const auto rgba = ToRgba(style ? style->GetFillColor() : KrColorValue3D(0.8, 0.8, 0.8, 1.0));
    if (chart.GetType() == KrGeometry::GEO_CYLINDER) {
        const auto& c = static_cast<const KrGeoCylinder&>(chart);
        if (!c.IsMade() || !(c.GetBottomRadius() > 0.0)) return;
        const BSX::BsxPoint3D& at = c.GetCentre();
        AddCylinder(at.x + c.GetOffsetX(), at.y + c.GetOffsetY(), at.z * m_heightScale, c.GetBottomRadius(),
                    c.GetBottomRadius(), c.GetTopRadius() / c.GetBottomRadius(), c.GetHeight() * m_heightScale, 0.0,
                    360.0, rgba, kCircleSegments, false);
    } else if (chart.GetType() == KrGeometry::GEO_PIECYLINDER) {
        const auto& p = static_cast<const KrGeoPieCylinder&>(chart);
        if (!p.IsMade()) return;
        const BSX::BsxPoint3D& at = p.GetCentre();
        // Pies of neighbouring features overlap on a dense layer, and pies of one size have their
        // tops in one plane, where the depth buffer cannot tell them apart: each feature's pie
        // stands a step of 0.4 % of its height above the last one's, in a cycle of five
        const double stagger = 1.0 + kPieStagger * static_cast<double>(m_feature % 5);
        AddCylinder(at.x + p.GetOffsetX(), at.y + p.GetOffsetY(), at.z * m_heightScale, p.GetRadiusX(),
                    p.GetRadiusY(), 1.0, p.GetHeight() * m_heightScale * stagger, p.GetStartAngle(), p.GetEndAngle(),
                    rgba, kCircleSegments, false);
    }
}

} // namespace KRN
