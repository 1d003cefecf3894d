#include "DemoTileset.h"

#include <algorithm>
#include <cmath>
#include <fcntl.h>
#include <unistd.h>

#include "DemoJson.h"
#include "DemoOutput.h"

namespace KRN {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kDeg = kPi / 180.0;
constexpr double kSemiMajor = 6378137.0;
constexpr double kFlattening = 1.0 / 298.257223563;
// Room around drawn content: the .glb holds positions as floats near the tile's centre
constexpr double kPadRadians = 1e-8;
constexpr double kPadMetres = 0.5;

// Earth-centred coordinates to longitude, latitude (radians) and height, by Bowring's method,
// which is good to well under a millimetre near the Earth's surface
void ToGeodetic(double x, double y, double z, double& lon, double& lat, double& h)
{
    const double a = kSemiMajor, f = kFlattening;
    const double b = a * (1.0 - f);
    const double e2 = f * (2.0 - f), ep2 = e2 / (1.0 - e2);
    const double p = std::hypot(x, y);
    lon = std::atan2(y, x);
    const double theta = std::atan2(z * a, p * b);
    const double st = std::sin(theta), ct = std::cos(theta);
    lat = std::atan2(z + ep2 * b * st * st * st, p - e2 * a * ct * ct * ct);
    const double sl = std::sin(lat), cl = std::cos(lat);
    const double n = a / std::sqrt(1.0 - e2 * sl * sl);
    h = std::fabs(cl) > 1e-10 ? p / cl - n : std::fabs(z) / std::fabs(sl) - n * (1.0 - e2);
}

// The diagonal of a region in metres: its width at its middle latitude, its height and depth
double RegionSize(const DemoRegion& r)
{
    const double width = (r[2] - r[0]) * kSemiMajor * std::cos((r[1] + r[3]) * 0.5);
    const double height = (r[3] - r[1]) * kSemiMajor;
    const double d = std::sqrt(width * width + height * height + (r[5] - r[4]) * (r[5] - r[4]));
    return std::isfinite(d) ? d : 0.0;
}

void WriteTile(DemoJson& j, const DemoTileTree& tree, const std::vector<DemoTileRecord>& records, int index)
{
    const DemoTileNode& node = tree.GetNodes()[static_cast<size_t>(index)];
    const DemoTileRecord& r = records[static_cast<size_t>(index)];
    j.BeginObject().Key("boundingVolume").BeginObject().Key("region").BeginArray();
    for (double v : r.region) j.Number(v);
    j.EndArray().EndObject();
    j.Key("geometricError").Number(node.IsLeaf() ? 0.0 : r.geometricError).Key("refine").String("REPLACE");
    if (r.contents.size() == 1) {
        j.Key("content").BeginObject().Key("uri").String(r.contents.front()).EndObject();
    } else if (r.contents.size() > 1) {
        j.Key("contents").BeginArray();
        for (const std::string& uri : r.contents) j.BeginObject().Key("uri").String(uri).EndObject();
        j.EndArray();
    }
    if (!node.IsLeaf()) {
        j.Key("children").BeginArray();
        for (int child : node.children) WriteTile(j, tree, records, child);
        j.EndArray();
    }
    j.EndObject();
}

} // namespace

bool DemoTileset::SceneRegion(const DemoScene& scene, DemoRegion& region)
{
    bool any = false;
    for (const auto* list : {&scene.GetVertices(), &scene.GetLineVertices()}) {
        for (const DemoVertex& v : *list) {
            double lon, lat, h;
            ToGeodetic(v.x, v.y, v.z, lon, lat, h);
            if (!std::isfinite(lon) || !std::isfinite(lat) || !std::isfinite(h)) continue;
            const DemoRegion point{lon, lat, lon, lat, h, h};
            if (any) Extend(region, point);
            else region = point, any = true;
        }
    }
    if (!any) return false;
    region[0] = std::max(-kPi, region[0] - kPadRadians), region[1] = std::max(-kPi / 2, region[1] - kPadRadians);
    region[2] = std::min(kPi, region[2] + kPadRadians), region[3] = std::min(kPi / 2, region[3] + kPadRadians);
    region[4] -= kPadMetres, region[5] += kPadMetres;
    return true;
}

DemoRegion DemoTileset::RectRegion(const std::array<double, 4>& d)
{
    auto clampLat = [](double v) { return std::max(-kPi / 2, std::min(kPi / 2, v * kDeg)); };
    auto clampLon = [](double v) { return std::max(-kPi, std::min(kPi, v * kDeg)); };
    // A rectangle past the antimeridian comes home; one across it takes every longitude
    double west = d[0], east = d[2];
    if (west >= 180.0) west -= 360.0, east -= 360.0;
    if (east > 180.0) west = -180.0, east = 180.0;
    return {clampLon(west), clampLat(d[1]), clampLon(east), clampLat(d[3]), 0.0, 0.0};
}

void DemoTileset::Extend(DemoRegion& region, const DemoRegion& other)
{
    for (int k : {0, 1, 4}) region[static_cast<size_t>(k)] = std::min(region[static_cast<size_t>(k)], other[static_cast<size_t>(k)]);
    for (int k : {2, 3, 5}) region[static_cast<size_t>(k)] = std::max(region[static_cast<size_t>(k)], other[static_cast<size_t>(k)]);
}

std::string DemoTileset::Json(const DemoTileTree& tree, const std::vector<DemoTileRecord>& records)
{
    DemoJson j;
    j.BeginObject().Key("asset").BeginObject().Key("version").String("1.1").Key("generator").String("t3d_demo");
    j.EndObject();
    // Drawing nothing at all misses the whole layer: the error is the size of the root's region,
    // so that a viewer draws the root from as far as the layer would show. A tileset of one tile
    // (whose root, a leaf, has no error of its own) is then drawn at ordinary distances too.
    const double rootError = records.empty() ? 0.0 : records.front().geometricError;
    const double layerSize = records.empty() ? 0.0 : RegionSize(records.front().region);
    j.Key("geometricError").Number(std::max({rootError * 2.0, layerSize, 1.0}));
    if (!tree.GetNodes().empty()) {
        j.Key("root");
        WriteTile(j, tree, records, 0);
    }
    j.EndObject();
    return j.Text() + "\n";
}

bool DemoTileset::WriteAtomically(const std::string& path, const void* data, size_t size, bool durable,
                                  std::string& error)
{
    DemoOutputFile file(path);
    if (!file.Open(error) || !file.Write(data, size, error) || !file.Close(error)) return false;
    if (durable) {
        // The rename must not reach the disk before these bytes and the tiles written before do
        const size_t slash = path.find_last_of('/');
        const std::string dir = slash == std::string::npos ? "." : path.substr(0, slash + 1);
        const int fd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (fd >= 0) {
            ::syncfs(fd);
            ::close(fd);
        }
    }
    return file.Commit(error);
}

} // namespace KRN
