#include "DemoScene.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include <geos_c.h>

#include "KrGeoCompound.h"
#include "KrGeoCylinder.h"
#include "KrGeoPieCylinder.h"

namespace KRN {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kDeg = kPi / 180.0;
// WGS84 ellipsoid
constexpr double kSemiMajor = 6378137.0;
constexpr double kFlattening = 1.0 / 298.257223563;
// Triangles and walls are cut until no edge spans more than this many degrees, so that large
// polygons follow the curve of the Earth instead of cutting through it
constexpr double kMaxEdgeDegrees = 2.0;
constexpr int kMaxSplitDepth = 10;
constexpr int kCircleSegments = 32;

struct GeosContext {
    GEOSContextHandle_t handle;
    GeosContext() : handle(GEOS_init_r())
    {
        // Invalid input polygons are expected now and then; they are repaired or skipped quietly
        GEOSContext_setErrorMessageHandler_r(handle, [](const char*, void*) {}, nullptr);
        GEOSContext_setNoticeMessageHandler_r(handle, [](const char*, void*) {}, nullptr);
    }
    ~GeosContext() { GEOS_finish_r(handle); }
};

GEOSContextHandle_t Geos()
{
    // A GEOS context serves one thread at a time; tiles are drawn by several
    thread_local GeosContext context;
    return context.handle;
}

struct GeomDeleter {
    void operator()(GEOSGeometry* g) const
    {
        if (g) GEOSGeom_destroy_r(Geos(), g);
    }
};
using GeomPtr = std::unique_ptr<GEOSGeometry, GeomDeleter>;

GEOSGeometry* MakeRing(const std::vector<BSX::BsxPoint3D>& ring)
{
    std::vector<BSX::BsxPoint3D> pts(ring);
    if (pts.size() >= 2 && (pts.front().x != pts.back().x || pts.front().y != pts.back().y)) pts.push_back(pts.front());
    if (pts.size() < 4) return nullptr;
    GEOSCoordSequence* seq = GEOSCoordSeq_create_r(Geos(), static_cast<unsigned>(pts.size()), 2);
    if (!seq) return nullptr;
    for (size_t i = 0; i < pts.size(); ++i) GEOSCoordSeq_setXY_r(Geos(), seq, static_cast<unsigned>(i), pts[i].x, pts[i].y);
    return GEOSGeom_createLinearRing_r(Geos(), seq);
}

GeomPtr MakePolygon(const DemoPart& part)
{
    if (part.rings.empty()) return nullptr;
    GEOSGeometry* shell = MakeRing(part.rings.front());
    if (!shell) return nullptr;
    std::vector<GEOSGeometry*> holes;
    for (size_t i = 1; i < part.rings.size(); ++i) {
        if (GEOSGeometry* hole = MakeRing(part.rings[i])) holes.push_back(hole);
    }
    return GeomPtr(GEOSGeom_createPolygon_r(Geos(), shell, holes.empty() ? nullptr : holes.data(),
                                            static_cast<unsigned>(holes.size())));
}

double Dist(const BSX::BsxPoint3D& a, const BSX::BsxPoint3D& b) { return std::hypot(a.x - b.x, a.y - b.y); }

BSX::BsxPoint3D Mid(const BSX::BsxPoint3D& a, const BSX::BsxPoint3D& b)
{
    return BSX::BsxPoint3D((a.x + b.x) * 0.5, (a.y + b.y) * 0.5, (a.z + b.z) * 0.5);
}

} // namespace

BSX::BsxPoint3D DemoScene::ToEcef(double lon, double lat, double height)
{
    const double e2 = kFlattening * (2.0 - kFlattening);
    const double sinLat = std::sin(lat * kDeg), cosLat = std::cos(lat * kDeg);
    const double n = kSemiMajor / std::sqrt(1.0 - e2 * sinLat * sinLat);
    return BSX::BsxPoint3D((n + height) * cosLat * std::cos(lon * kDeg), (n + height) * cosLat * std::sin(lon * kDeg),
                           (n * (1.0 - e2) + height) * sinLat);
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

void DemoScene::AddTriangle(const BSX::BsxPoint3D& a, const BSX::BsxPoint3D& b, const BSX::BsxPoint3D& c,
                            const std::array<std::uint8_t, 4>& rgba, bool outward)
{
    const double ux = b.x - a.x, uy = b.y - a.y, uz = b.z - a.z;
    const double vx = c.x - a.x, vy = c.y - a.y, vz = c.z - a.z;
    double nx = uy * vz - uz * vy, ny = uz * vx - ux * vz, nz = ux * vy - uy * vx;
    const double len = std::sqrt(nx * nx + ny * ny + nz * nz);
    if (!(len > 1e-6) || !std::isfinite(len)) return;
    nx /= len, ny /= len, nz /= len;
    bool flip = false;
    if (outward) {
        const double cx = a.x + b.x + c.x, cy = a.y + b.y + c.y, cz = a.z + b.z + c.z;
        flip = nx * cx + ny * cy + nz * cz < 0.0;
    }
    if (flip) nx = -nx, ny = -ny, nz = -nz;
    const BSX::BsxPoint3D* corners[3] = {&a, flip ? &c : &b, flip ? &b : &c};
    for (const BSX::BsxPoint3D* p : corners) {
        DemoVertex v = NewVertex(*p, rgba);
        v.nx = static_cast<float>(nx), v.ny = static_cast<float>(ny), v.nz = static_cast<float>(nz);
        m_triangles.push_back(v);
    }
}

void DemoScene::AddSurfaceTriangle(const BSX::BsxPoint3D& a, const BSX::BsxPoint3D& b, const BSX::BsxPoint3D& c,
                                   double h, const std::array<std::uint8_t, 4>& rgba, int depth)
{
    const double ab = Dist(a, b), bc = Dist(b, c), ca = Dist(c, a);
    const double longest = std::max(ab, std::max(bc, ca));
    if (longest > kMaxEdgeDegrees && depth < kMaxSplitDepth) {
        // Split the longest edge; the two halves keep the orientation
        if (longest == ab) {
            const BSX::BsxPoint3D m = Mid(a, b);
            AddSurfaceTriangle(a, m, c, h, rgba, depth + 1);
            AddSurfaceTriangle(m, b, c, h, rgba, depth + 1);
        } else if (longest == bc) {
            const BSX::BsxPoint3D m = Mid(b, c);
            AddSurfaceTriangle(a, b, m, h, rgba, depth + 1);
            AddSurfaceTriangle(a, m, c, h, rgba, depth + 1);
        } else {
            const BSX::BsxPoint3D m = Mid(c, a);
            AddSurfaceTriangle(a, b, m, h, rgba, depth + 1);
            AddSurfaceTriangle(m, b, c, h, rgba, depth + 1);
        }
        return;
    }
    AddTriangle(ToEcef(a.x, a.y, h), ToEcef(b.x, b.y, h), ToEcef(c.x, c.y, h), rgba, true);
}

void DemoScene::AddRegion(const DemoPart& part, const KrStyle& style)
{
    const auto rgba = ToRgba(style.GetFillColor());
    const double extend = static_cast<double>(style.GetExtendHeight());
    const double bottom = static_cast<double>(style.GetBottomAltitude()) * m_heightScale;
    const double height = std::isfinite(extend) && extend > 0.0 ? extend * m_heightScale : 0.0;
    const double top = bottom + height;
    if (!std::isfinite(top)) return;

    GeomPtr polygon = MakePolygon(part);
    if (!polygon) return;
    if (GEOSisValid_r(Geos(), polygon.get()) != 1) polygon.reset(GEOSMakeValid_r(Geos(), polygon.get()));
    if (!polygon) return;
    GeomPtr triangles(GEOSConstrainedDelaunayTriangulation_r(Geos(), polygon.get()));
    if (!triangles) return;
    const int n = GEOSGetNumGeometries_r(Geos(), triangles.get());
    for (int i = 0; i < n; ++i) {
        const GEOSGeometry* tri = GEOSGetGeometryN_r(Geos(), triangles.get(), i);
        const GEOSGeometry* ring = tri ? GEOSGetExteriorRing_r(Geos(), tri) : nullptr;
        const GEOSCoordSequence* seq = ring ? GEOSGeom_getCoordSeq_r(Geos(), ring) : nullptr;
        unsigned size = 0;
        if (!seq || !GEOSCoordSeq_getSize_r(Geos(), seq, &size) || size < 3) continue;
        BSX::BsxPoint3D p[3];
        for (unsigned k = 0; k < 3; ++k) GEOSCoordSeq_getXY_r(Geos(), seq, k, &p[k].x, &p[k].y);
        AddSurfaceTriangle(p[0], p[1], p[2], top, rgba, 0);
    }
    if (height <= 0.0) return;
    // Walls along every ring, cut like the surface so that they follow the globe
    for (const auto& ring : part.rings) {
        for (size_t k = 0; k + 1 < ring.size(); ++k) {
            const BSX::BsxPoint3D& a = ring[k];
            const BSX::BsxPoint3D& b = ring[k + 1];
            const double len = Dist(a, b);
            const int pieces = std::max(1, std::min(1000, static_cast<int>(std::ceil(len / kMaxEdgeDegrees))));
            for (int s = 0; s < pieces; ++s) {
                const double t0 = static_cast<double>(s) / pieces, t1 = static_cast<double>(s + 1) / pieces;
                const double x0 = a.x + (b.x - a.x) * t0, y0 = a.y + (b.y - a.y) * t0;
                const double x1 = a.x + (b.x - a.x) * t1, y1 = a.y + (b.y - a.y) * t1;
                const BSX::BsxPoint3D p0 = ToEcef(x0, y0, bottom), p1 = ToEcef(x1, y1, bottom);
                const BSX::BsxPoint3D q0 = ToEcef(x0, y0, top), q1 = ToEcef(x1, y1, top);
                AddTriangle(p0, p1, q1, rgba, false);
                AddTriangle(p0, q1, q0, rgba, false);
            }
        }
    }
}

void DemoScene::AddFeature(const DemoFeature& feature, const KrStyle& style)
{
    const int kind = feature.geometryType % 100;
    for (const DemoPart& part : feature.parts) {
        if (kind == KrGeometry::GEO_REGION) {
            AddRegion(part, style);
        } else if (kind == KrGeometry::GEO_LINE) {
            const auto rgba = ToRgba(style.GetLineColor3D());
            for (const auto& line : part.rings) {
                if (line.size() < 2) continue;
                const size_t first = m_lines.size();
                for (const auto& p : line) {
                    const BSX::BsxPoint3D e = ToEcef(p.x, p.y, (std::isfinite(p.z) ? p.z : 0.0) * m_heightScale);
                    m_lines.push_back(NewVertex(e, rgba));
                }
                m_strips.emplace_back(first, line.size());
            }
        } else if (kind == KrGeometry::GEO_POINT) {
            const auto rgba = ToRgba(style.GetPointColor());
            for (const auto& ring : part.rings) {
                for (const auto& p : ring) {
                    const BSX::BsxPoint3D e = ToEcef(p.x, p.y, (std::isfinite(p.z) ? p.z : 0.0) * m_heightScale);
                    m_points.push_back(NewVertex(e, rgba));
                }
            }
        }
    }
}

void DemoScene::AddCylinder(double lon, double lat, double base, double radiusEast, double radiusNorth,
                            double topScale, double height, double startDeg, double endDeg,
                            const std::array<std::uint8_t, 4>& rgba)
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
    const int segments = std::max(1, static_cast<int>(std::ceil(kCircleSegments * sweep / 360.0)));
    for (int s = 0; s < segments; ++s) {
        const double a0 = startDeg + sweep * s / segments, a1 = startDeg + sweep * (s + 1) / segments;
        const BSX::BsxPoint3D b0 = rim(foot, a0), b1 = rim(foot, a1), t0 = rim(head, a0), t1 = rim(head, a1);
        AddTriangle(head, t0, t1, rgba, true);
        AddTriangle(foot, b1, b0, rgba, false);
        AddTriangle(b0, b1, t1, rgba, false);
        AddTriangle(b0, t1, t0, rgba, false);
    }
    if (!full) {
        // The two cut faces of a slice
        const BSX::BsxPoint3D s0 = rim(foot, startDeg), s1 = rim(head, startDeg);
        const BSX::BsxPoint3D e0 = rim(foot, startDeg + sweep), e1 = rim(head, startDeg + sweep);
        AddTriangle(foot, s0, s1, rgba, false);
        AddTriangle(foot, s1, head, rgba, false);
        AddTriangle(foot, e1, e0, rgba, false);
        AddTriangle(foot, head, e1, rgba, false);
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
                    360.0, rgba);
    } else if (chart.GetType() == KrGeometry::GEO_PIECYLINDER) {
        const auto& p = static_cast<const KrGeoPieCylinder&>(chart);
        if (!p.IsMade()) return;
        const BSX::BsxPoint3D& at = p.GetCentre();
        AddCylinder(at.x + p.GetOffsetX(), at.y + p.GetOffsetY(), at.z * m_heightScale, p.GetRadiusX(),
                    p.GetRadiusY(), 1.0, p.GetHeight() * m_heightScale, p.GetStartAngle(), p.GetEndAngle(), rgba);
    }
}

} // namespace KRN
