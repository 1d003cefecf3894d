// Scenes written as .glb and read back as a viewer reads them (meshoptimizer's decoder): every
// vertex comes back within half a step of the grid the writer keeps positions on, a metre over
// the whole globe and micrometres on a building.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <string>

#include "DemoGlbWriter.h"
#include "DemoScene.h"
#include "GlbRead.h"

namespace {

// The largest distance along an axis from a vertex read back to the nearest vertex of the scene
double WorstOffset(const KRN::DemoScene& scene)
{
    const std::vector<std::uint8_t> bytes = KRN::DemoGlbWriter::Encode(scene);
    const auto [doc, bin] = t3d_test::ParseGlb(std::string(bytes.begin(), bytes.end()));
    if (!doc.is_object()) return 1e300;
    const auto& t = doc["nodes"][0]["translation"];
    double worst = 0.0;
    size_t read = 0;
    for (const auto& primitive : doc["meshes"][0]["primitives"]) {
        const auto& accessor = doc["accessors"][primitive["attributes"]["POSITION"].get<size_t>()];
        const size_t from = doc["bufferViews"][accessor["bufferView"].get<size_t>()]["byteOffset"];
        for (size_t i = 0; i < accessor["count"].get<size_t>(); ++i, ++read) {
            float p[3];
            std::memcpy(p, bin.data() + from + i * 12, 12);
            // glTF's y-up axes back to Earth-centred ones
            const double at[3] = {p[0] + t[0].get<double>(), -(p[2] + t[2].get<double>()), p[1] + t[1].get<double>()};
            double best = 1e300;
            for (const auto& v : scene.GetVertices())
                best = std::min(best, std::max({std::fabs(at[0] - v.x), std::fabs(at[1] - v.y), std::fabs(at[2] - v.z)}));
            worst = std::max(worst, best);
        }
    }
    return read == scene.GetVertices().size() ? worst : 1e300;
}

} // namespace

TEST(GlbWriter, PositionsKeepAMetreOverTheGlobeAndMicrometresOnABuilding)
{
    // Columns 1,000 km tall on either side of the globe and near a pole: the farthest vertex lies
    // about 7,400 km from the scene's centre, within 2^23 metres
    KRN::DemoScene globe;
    for (const auto& [lon, lat] : {std::array<double, 2>{0.0, 0.0}, {179.0, 0.0}, {-90.0, 60.0}, {90.0, -60.0}, {10.0, 89.0}})
        globe.AddCylinder(lon, lat, 0.0, 50000.0, 50000.0, 1.0, 1.0e6, 0.0, 360.0, {{20, 90, 40, 255}});
    EXPECT_LE(WorstOffset(globe), 0.5);
    // A building 20 m across and 30 m tall, no vertex 32 m from the centre: a grid of 2^-18 m
    KRN::DemoScene building;
    building.AddCylinder(8.54, 47.37, 400.0, 10.0, 10.0, 1.0, 30.0, 0.0, 360.0, {{120, 120, 120, 255}});
    EXPECT_LE(WorstOffset(building), 0.5 / (1 << 18));
}
