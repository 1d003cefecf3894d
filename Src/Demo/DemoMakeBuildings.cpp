// Writes a layer of synthetic building footprints to a GeoPackage, the same bytes of data for
// the same count and seed: rectangles of 8 to 40 metres, turned at random, on a jittered grid
// over a country-sized area, with a height, a floor count, a use and a year of construction
// drawn from seeded distributions. Tiling tests and benchmarks run on it.
// usage: t3d_make_buildings OUT.gpkg COUNT [SEED]
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

#include <cpl_conv.h>
#include <gdal.h>
#include <ogr_api.h>
#include <ogr_srs_api.h>

namespace {

constexpr double kPi = 3.14159265358979323846;
// The area: about 330 km by 310 km
constexpr double kWest = 3.4, kSouth = 50.8, kEast = 8.1, kNorth = 53.6;
constexpr double kMetresPerDegree = 111320.0;
const char* const kUses[] = {"residential", "residential", "residential", "commercial", "industrial", "public", "farm"};
// Features per transaction: one commit per batch keeps GeoPackage writing fast
constexpr long long kBatch = 20000;

int Fail(const std::string& message)
{
    std::fprintf(stderr, "t3d_make_buildings: %s\n", message.c_str());
    return 1;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 3 || argc > 4) return Fail("usage: t3d_make_buildings OUT.gpkg COUNT [SEED]");
    char* end = nullptr;
    const long long count = std::strtoll(argv[2], &end, 10);
    if (*end != 0 || count < 1 || count > 100000000) return Fail("COUNT must be a whole number from 1 to 100000000");
    const unsigned long seed = argc == 4 ? std::strtoul(argv[3], nullptr, 10) : 1;
    GDALAllRegister();
    GDALDriverH driver = GDALGetDriverByName("GPKG");
    if (!driver) return Fail("GDAL has no GeoPackage driver");
    std::remove(argv[1]);
    GDALDatasetH ds = GDALCreate(driver, argv[1], 0, 0, 0, GDT_Unknown, nullptr);
    if (!ds) return Fail(std::string("cannot create '") + argv[1] + "'");
    OGRSpatialReferenceH wgs84 = OSRNewSpatialReference(nullptr);
    OSRSetWellKnownGeogCS(wgs84, "WGS84");
    OGRLayerH layer = GDALDatasetCreateLayer(ds, "buildings", wgs84, wkbPolygon, nullptr);
    OSRDestroySpatialReference(wgs84);
    if (!layer) return Fail("cannot create the layer");
    const struct {
        const char* name;
        OGRFieldType type;
    } fields[] = {{"height", OFTReal}, {"floors", OFTInteger}, {"use", OFTString}, {"year", OFTInteger}};
    for (const auto& f : fields) {
        OGRFieldDefnH fd = OGR_Fld_Create(f.name, f.type);
        OGR_L_CreateField(layer, fd, 1);
        OGR_Fld_Destroy(fd);
    }
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    std::lognormal_distribution<double> height(2.2, 0.5);
    std::normal_distribution<double> year(1975.0, 25.0);
    const long long side = static_cast<long long>(std::ceil(std::sqrt(static_cast<double>(count))));
    const double cellX = (kEast - kWest) / side, cellY = (kNorth - kSouth) / side;
    OGRFeatureDefnH defn = OGR_L_GetLayerDefn(layer);
    for (long long i = 0; i < count; ++i) {
        if (i % kBatch == 0) {
            if (i > 0) GDALDatasetCommitTransaction(ds);
            GDALDatasetStartTransaction(ds, 0);
        }
        const double cx = kWest + (static_cast<double>(i % side) + 0.2 + 0.6 * unit(random)) * cellX;
        const double cy = kSouth + (static_cast<double>(i / side) + 0.2 + 0.6 * unit(random)) * cellY;
        const double w = 8.0 + 32.0 * unit(random), d = 8.0 + 22.0 * unit(random), turn = kPi * unit(random);
        const double mx = 1.0 / (kMetresPerDegree * std::cos(cy * kPi / 180.0)), my = 1.0 / kMetresPerDegree;
        OGRGeometryH ring = OGR_G_CreateGeometry(wkbLinearRing);
        const double corners[5][2] = {{-0.5, -0.5}, {0.5, -0.5}, {0.5, 0.5}, {-0.5, 0.5}, {-0.5, -0.5}};
        for (const auto& c : corners) {
            const double ex = c[0] * w, ny = c[1] * d;
            OGR_G_AddPoint_2D(ring, cx + (ex * std::cos(turn) - ny * std::sin(turn)) * mx,
                              cy + (ex * std::sin(turn) + ny * std::cos(turn)) * my);
        }
        OGRGeometryH polygon = OGR_G_CreateGeometry(wkbPolygon);
        OGR_G_AddGeometryDirectly(polygon, ring);
        OGRFeatureH f = OGR_F_Create(defn);
        OGR_F_SetGeometryDirectly(f, polygon);
        const double h = std::min(150.0, 3.0 + height(random));
        OGR_F_SetFieldDouble(f, 0, std::round(h * 10.0) / 10.0);
        OGR_F_SetFieldInteger(f, 1, std::max(1, static_cast<int>(h / 3.0)));
        OGR_F_SetFieldString(f, 2, kUses[static_cast<size_t>(unit(random) * 7.0) % 7]);
        OGR_F_SetFieldInteger(f, 3, static_cast<int>(std::min(2024.0, std::max(1600.0, year(random)))));
        if (OGR_L_CreateFeature(layer, f) != OGRERR_NONE) {
            OGR_F_Destroy(f);
            GDALClose(ds);
            return Fail("cannot write feature " + std::to_string(i));
        }
        OGR_F_Destroy(f);
    }
    GDALDatasetCommitTransaction(ds);
    GDALClose(ds);
    std::printf("%s: %lld buildings\n", argv[1], count);
    return 0;
}
