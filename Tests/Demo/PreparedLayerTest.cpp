// The prepared surfaces of real countries whose shapes are hard: across the antimeridian (Russia,
// Fiji), around a pole (Antarctica), long coasts with far islands (Norway, Chile, France, USA).
// Areas are checked against the same countries in the built-in 1:110m layer, another generalisation
// of the same coasts, which already lies split at the antimeridian and closed at the pole.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <string>
#include <utility>

#include <gdal.h>
#include <ogr_api.h>

#include "DemoLayerReader.h"
#include "DemoPreparedLayer.h"

using namespace KRN;

namespace {

const char* const kCountries = T3D_TEST_WORLD "/countries.gpkg";

const DemoFeature& Find(const DemoLayer& layer, const std::string& name, size_t& index)
{
    const int field = layer.FindField("name");
    for (index = 0; index < layer.features.size(); ++index) {
        BSX::BsxVariant v;
        layer.features[index].feature->GetValue(L"name", v);
        if (field >= 0 && v.ToString().ToUtf8() == name) return layer.features[index];
    }
    ADD_FAILURE() << name << " is missing";
    static const DemoFeature none;
    return none;
}

// Planar area in square degrees of the 1:110m outline of a country
double LowResolutionArea(const std::string& name)
{
    GDALAllRegister();
    GDALDatasetH ds = GDALOpenEx(T3D_DEMO_DATA, GDAL_OF_VECTOR, nullptr, nullptr, nullptr);
    if (!ds) return -1.0;
    OGRLayerH layer = GDALDatasetGetLayer(ds, 0);
    OGR_L_SetAttributeFilter(layer, ("name = '" + name + "'").c_str());
    double area = -1.0;
    if (OGRFeatureH f = OGR_L_GetNextFeature(layer)) {
        area = OGR_G_Area(OGR_F_GetGeometryRef(f));
        OGR_F_Destroy(f);
    }
    GDALClose(ds);
    return area;
}

double Cross(const BSX::BsxPoint3D& a, const BSX::BsxPoint3D& b, const BSX::BsxPoint3D& c)
{
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

bool Covers(const DemoMesh& mesh, double x, double y)
{
    const BSX::BsxPoint3D p(x, y, 0.0);
    for (size_t t = 0; t + 2 < mesh.triangles.size(); t += 3) {
        const auto& a = mesh.vertices[mesh.triangles[t]];
        const auto& b = mesh.vertices[mesh.triangles[t + 1]];
        const auto& c = mesh.vertices[mesh.triangles[t + 2]];
        if (Cross(a, b, p) >= 0 && Cross(b, c, p) >= 0 && Cross(c, a, p) >= 0) return true;
    }
    return false;
}

class PreparedCountries : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        std::string error;
        ASSERT_TRUE(DemoLayerReader::Read(kCountries, "", s_layer, error)) << error;
        s_prepared.Prepare(s_layer);
    }
    static DemoLayer s_layer;
    static DemoPreparedLayer s_prepared;
};
DemoLayer PreparedCountries::s_layer;
DemoPreparedLayer PreparedCountries::s_prepared;

} // namespace

TEST_F(PreparedCountries, MeshesCoverTheCountryWithoutCracksOrWrapAround)
{
    for (const char* name : {"Russia", "Fiji", "Antarctica", "Norway", "Chile", "France", "United States of America"}) {
        SCOPED_TRACE(name);
        size_t index = 0;
        Find(s_layer, name, index);
        const DemoMesh& mesh = s_prepared.GetMesh(index);
        ASSERT_FALSE(mesh.triangles.empty());
        double area = 0.0, widest = 0.0;
        std::map<std::pair<std::uint32_t, std::uint32_t>, int> edges;
        for (size_t t = 0; t + 2 < mesh.triangles.size(); t += 3) {
            const std::uint32_t k[3] = {mesh.triangles[t], mesh.triangles[t + 1], mesh.triangles[t + 2]};
            const auto& a = mesh.vertices[k[0]];
            const auto& b = mesh.vertices[k[1]];
            const auto& c = mesh.vertices[k[2]];
            EXPECT_GT(Cross(a, b, c), 0.0) << "triangle " << t / 3 << " is not counter-clockwise";
            area += Cross(a, b, c) / 2.0;
            widest = std::max(widest, std::max({a.x, b.x, c.x}) - std::min({a.x, b.x, c.x}));
            for (int e = 0; e < 3; ++e) ++edges[std::minmax(k[e], k[(e + 1) % 3])];
        }
        // A ring drawn the long way round the globe makes triangles hundreds of degrees wide
        EXPECT_LE(widest, 2.0 * DemoPreparedLayer::kMaxEdgeDegrees);
        for (const auto& v : mesh.vertices) {
            EXPECT_GE(v.x, -180.0);
            EXPECT_LE(v.x, 180.0);
        }
        // Gaps at the pole or lost parts show as a smaller area than the other generalisation
        EXPECT_NEAR(area, LowResolutionArea(name), 0.15 * area);
        // A crack is an edge that only one triangle uses away from the outline: the edges used
        // once must add up to exactly the outline's length, and no edge is used thrice
        double once = 0.0, outline = 0.0;
        for (const auto& e : edges) {
            EXPECT_LE(e.second, 2);
            const auto& p = mesh.vertices[e.first.first];
            const auto& q = mesh.vertices[e.first.second];
            if (e.second == 1) once += std::hypot(p.x - q.x, p.y - q.y);
        }
        for (const auto& ring : mesh.rings) {
            for (size_t i = 0; i + 1 < ring.size(); ++i) outline += std::hypot(ring[i + 1].x - ring[i].x, ring[i + 1].y - ring[i].y);
        }
        EXPECT_NEAR(once, outline, 1e-6 * outline);
    }
    // The cap reaches the pole all the way round
    size_t index = 0;
    Find(s_layer, "Antarctica", index);
    for (double lon = -179.5; lon < 180.0; lon += 7.0) EXPECT_TRUE(Covers(s_prepared.GetMesh(index), lon, -89.9)) << lon;
}

TEST_F(PreparedCountries, AnchorsStandInsideTheMainland)
{
    struct Box {
        const char* name;
        double west, south, east, north;
    };
    // The mainland of each country, leaving out the islands and territories a point on surface
    // or a centroid falls on (Svalbard, Tierra del Fuego, Corsica and overseas France, Alaska)
    const Box boxes[] = {{"Norway", 4.0, 57.9, 31.5, 71.5},        {"Chile", -76.0, -50.0, -66.0, -17.5},
                         {"Russia", 27.0, 41.0, 180.0, 78.0},      {"France", -5.0, 42.3, 8.3, 51.2},
                         {"United States of America", -125.0, 25.0, -66.0, 49.5}, {"Fiji", 177.0, -18.5, 179.0, -17.0}};
    for (const Box& box : boxes) {
        SCOPED_TRACE(box.name);
        size_t index = 0;
        const DemoFeature& f = Find(s_layer, box.name, index);
        ASSERT_TRUE(f.hasAnchor);
        EXPECT_GE(f.anchor.x, box.west);
        EXPECT_LE(f.anchor.x, box.east);
        EXPECT_GE(f.anchor.y, box.south);
        EXPECT_LE(f.anchor.y, box.north);
        EXPECT_TRUE(Covers(s_prepared.GetMesh(index), f.anchor.x, f.anchor.y));
    }
}
