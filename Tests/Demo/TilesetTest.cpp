// What a 3D Tiles client relies on in the tilesets the demo host writes: the document's rules
// (version, regions in radians and metres nested parent over child, geometric errors falling to
// zero at the leaves, every content present and none left over), the same bytes whatever the
// number of threads, and no document that names missing tiles after a failed or stopped run.
#include <gtest/gtest.h>

#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

const std::string kTiles = T3D_TILES_DIR;
constexpr double kPi = 3.14159265358979323846;
// Largest content the tiler writes (16 MiB of vertices) and room for its header and document
constexpr std::uintmax_t kMaxContent = (16u << 20) + (1u << 20);

std::string ReadBytes(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

struct Walk {
    fs::path dir;
    std::set<std::string> uris;
    int tiles = 0, depth = 0;
};

// Checks one tile and its subtree against the parent's region and error
void CheckTile(const json& tile, const json* parent, int level, Walk& walk)
{
    SCOPED_TRACE("tile at level " + std::to_string(level));
    ++walk.tiles;
    walk.depth = std::max(walk.depth, level + 1);
    ASSERT_TRUE(tile.contains("boundingVolume") && tile["boundingVolume"].contains("region"));
    const json& r = tile["boundingVolume"]["region"];
    ASSERT_EQ(r.size(), 6u);
    EXPECT_TRUE(-kPi <= r[0] && r[0] <= r[2] && r[2] <= kPi) << r.dump();
    EXPECT_TRUE(-kPi / 2 <= r[1] && r[1] <= r[3] && r[3] <= kPi / 2) << r.dump();
    EXPECT_TRUE(-1000.0 <= r[4] && r[4] <= r[5] && r[5] <= 1e6) << r.dump();
    const double error = tile.at("geometricError");
    EXPECT_GE(error, 0.0);
    const std::string refine = tile.value("refine", parent ? (*parent).value("refine", "") : "");
    EXPECT_TRUE(refine == "REPLACE" || refine == "ADD");
    if (parent) {
        const json& p = (*parent)["boundingVolume"]["region"];
        for (int k : {0, 1, 4}) EXPECT_LE(p[k].get<double>(), r[k].get<double>()) << "child region leaves its parent's";
        for (int k : {2, 3, 5}) EXPECT_GE(p[k].get<double>(), r[k].get<double>()) << "child region leaves its parent's";
        EXPECT_LE(error, (*parent)["geometricError"].get<double>());
    }
    const bool leaf = !tile.contains("children") || tile["children"].empty();
    if (leaf && refine == "REPLACE") {
        EXPECT_EQ(error, 0.0);
    } else if (!leaf) {
        EXPECT_GT(error, 0.0);
    }
    std::vector<json> contents;
    if (tile.contains("content")) contents.push_back(tile["content"]);
    if (tile.contains("contents")) contents.insert(contents.end(), tile["contents"].begin(), tile["contents"].end());
    for (const json& c : contents) {
        const std::string uri = c.at("uri");
        EXPECT_TRUE(walk.uris.insert(uri).second) << uri << " named twice";
        const fs::path file = walk.dir / uri;
        ASSERT_TRUE(fs::is_regular_file(file)) << uri;
        const std::string bytes = ReadBytes(file);
        ASSERT_GE(bytes.size(), 12u);
        std::uint32_t header[3];
        std::memcpy(header, bytes.data(), sizeof header);
        EXPECT_EQ(header[0], 0x46546C67u) << uri;
        EXPECT_EQ(header[2], bytes.size()) << uri;
        EXPECT_LE(bytes.size(), kMaxContent) << uri;
    }
    if (!leaf) {
        for (const json& child : tile["children"]) CheckTile(child, &tile, level + 1, walk);
    }
}

TEST(Tileset, DocumentKeepsTheRulesAndNamesEveryTileOnce)
{
    Walk walk;
    walk.dir = kTiles + "/threads1/range";
    const json doc = json::parse(ReadBytes(walk.dir / "tileset.json"), nullptr, false);
    ASSERT_TRUE(doc.is_object());
    EXPECT_EQ(doc["asset"]["version"], "1.1");
    ASSERT_TRUE(doc.contains("root"));
    EXPECT_GE(doc["geometricError"].get<double>(), doc["root"]["geometricError"].get<double>());
    CheckTile(doc["root"], nullptr, 0, walk);
    // A layer of this size needs several levels; each content is a file and no file is orphaned
    EXPECT_GE(walk.depth, 3);
    // Beside each content lie the records of its features, one per feature of its table
    size_t files = 0, records = 0;
    const std::string ending = ".features.json";
    for (const auto& e : fs::directory_iterator(walk.dir / "tiles")) {
        std::string name = e.path().filename().string();
        const bool features = name.size() > ending.size() && name.compare(name.size() - ending.size(), ending.size(), ending) == 0;
        if (features) {
            records += json::parse(ReadBytes(e.path()))["features"].size();
            name.replace(name.size() - ending.size(), ending.size(), ".glb");
        }
        files += features ? 0 : 1;
        EXPECT_EQ(walk.uris.count("tiles/" + name), 1u) << e.path() << " belongs to no tile";
    }
    EXPECT_EQ(files, walk.uris.size());
    // The legend counts every feature once, though coarser tiles repeat some of them
    const json legend = json::parse(ReadBytes(fs::path(kTiles) / "threads1/range.legend.json"));
    size_t counted = 0;
    for (const json& entry : legend["entries"]) counted += entry["count"].get<size_t>();
    EXPECT_EQ(counted, legend["features"].get<size_t>());
    EXPECT_GT(records, counted);
    std::printf("%d tiles, depth %d, %zu contents\n", walk.tiles, walk.depth, walk.uris.size());
    // The folder's manifest leads a viewer to this tileset
    const json manifest = json::parse(ReadBytes(fs::path(kTiles) / "threads1/scene.json"), nullptr, false);
    ASSERT_TRUE(manifest.is_object());
    EXPECT_EQ(manifest["themes"][0]["tileset"], "range/tileset.json");
}

TEST(Tileset, ThreadCountChangesNoByte)
{
    const fs::path one = kTiles + "/threads1", three = kTiles + "/threads3";
    size_t files = 0;
    for (const auto& e : fs::recursive_directory_iterator(one)) {
        if (!e.is_regular_file()) continue;
        const fs::path other = three / fs::relative(e.path(), one);
        ASSERT_TRUE(fs::exists(other)) << other;
        EXPECT_TRUE(ReadBytes(e.path()) == ReadBytes(other)) << e.path() << " differs between 1 and 3 threads";
        ++files;
    }
    size_t otherFiles = 0;
    for (const auto& e : fs::recursive_directory_iterator(three)) otherFiles += e.is_regular_file() ? 1 : 0;
    EXPECT_EQ(files, otherFiles);
    EXPECT_GT(files, 10u);
}

// Runs the demo host; when a file is given, stops it with SIGINT as soon as that file is gone.
// Answers its exit status, 128 + signal when a signal ended it.
int RunDemo(const std::string& args, const fs::path& stopWhenGone = fs::path())
{
    const std::string command = std::string("exec env ") + T3D_DEMO_ENV + " " + T3D_DEMO_EXE + " --tiles --no-progress " +
                                args + " >/dev/null 2>&1";
    const pid_t pid = fork();
    if (pid == 0) {
        execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    int status = 0;
    if (!stopWhenGone.empty()) {
        while (fs::exists(stopWhenGone) && waitpid(pid, &status, WNOHANG) == 0) usleep(10000);
        kill(pid, SIGINT);
    }
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

size_t CountEnding(const fs::path& dir, const std::string& end)
{
    size_t n = 0;
    if (!fs::is_directory(dir)) return 0;
    for (const auto& e : fs::directory_iterator(dir)) {
        const std::string name = e.path().filename().string();
        n += e.is_regular_file() && name.size() >= end.size() && name.compare(name.size() - end.size(), end.size(), end) == 0;
    }
    return n;
}

TEST(Tileset, FailedOrStoppedRunLeavesNoDocumentNamingMissingTiles)
{
    const fs::path out = kTiles + "/faults";
    fs::remove_all(out);
    const std::string countries = "--range pop_est --tile-features 16 --name r --out " + out.string();
    ASSERT_EQ(RunDemo(countries), 0);
    ASSERT_TRUE(fs::exists(out / "r/tileset.json"));

    // The root tile is written last: blocking its name fails the run after every leaf is done
    fs::remove(out / "r/tiles/0_0_0_0.glb");
    fs::create_directories(out / "r/tiles/0_0_0_0.glb/held");
    EXPECT_EQ(RunDemo(countries), 3);
    EXPECT_FALSE(fs::exists(out / "r/tileset.json"));
    EXPECT_EQ(CountEnding(out / "r/tiles", ".glb"), 0u) << "the tiles of the failed run stay behind";
    fs::remove_all(out / "r/tiles/0_0_0_0.glb");

    // Stopped while drawing the buildings over a complete tileset of the countries
    ASSERT_EQ(RunDemo(countries), 0);
    const std::string buildings = "--range height --tile-features 1024 --threads 2 --name r --out " + out.string() +
                                  " --data " + kTiles + "/buildings.gpkg";
    // The countries' document goes before the first tile of the new run is written
    EXPECT_EQ(RunDemo(buildings, out / "r/tileset.json"), 130);
    EXPECT_FALSE(fs::exists(out / "r/tileset.json"));
    EXPECT_EQ(CountEnding(out / "r/tiles", ".glb") + CountEnding(out / "r/tiles", ".json"), 0u);
}

// A small layer across the antimeridian, its squares written on both sides of it and past it:
// the tiles lie each side, every region within [-pi, pi], every feature found in its tile
TEST(Tileset, LayerAcrossTheAntimeridianTilesEachSide)
{
    const fs::path out = kTiles + "/antimeridian", data = kTiles + "/antimeridian.geojson";
    fs::remove_all(out);
    std::ofstream geojson(data);
    geojson << R"({"type": "FeatureCollection", "features": [)";
    for (int i = 0; i < 48; ++i) {
        // Columns from 179.52 to 180.45 degrees, the eastern half written as -179.x or as 180.x
        double west = 179.52 + 0.04 * (i % 24);
        if (west > 180.0 && i >= 24) west -= 360.0;
        const double south = (i / 24) * 0.5;
        geojson << (i ? "," : "") << R"({"type": "Feature", "properties": {"height": )" << i
                << R"(}, "geometry": {"type": "Polygon", "coordinates": [[)";
        const double x[] = {west, west + 0.01, west + 0.01, west, west}, y[] = {south, south, south + 0.01, south + 0.01, south};
        for (int k = 0; k < 5; ++k) geojson << (k ? ", [" : "[") << x[k] << ", " << y[k] << "]";
        geojson << "]]}}";
    }
    geojson << "]}\n";
    geojson.close();
    ASSERT_EQ(RunDemo("--range height --tile-features 16 --name r --out " + out.string() + " --data " + data.string()), 0);
    const json doc = json::parse(ReadBytes(out / "r/tileset.json"), nullptr, false);
    ASSERT_TRUE(doc.is_object());
    Walk walk;
    walk.dir = out / "r";
    CheckTile(doc["root"], nullptr, 0, walk);
    int west = 0, east = 0;
    for (const json& child : doc["root"]["children"]) {
        const json& r = child["boundingVolume"]["region"];
        west += r[0].get<double>() > 3.1;
        east += r[2].get<double>() < -3.1;
    }
    EXPECT_GT(west, 0);
    EXPECT_GT(east, 0);
    EXPECT_EQ(west + east, static_cast<int>(doc["root"]["children"].size()));
    // The manifest's extent frames the layer across the antimeridian: west of it, then east
    const json extent = json::parse(ReadBytes(out / "scene.json"), nullptr, false)["layer"]["extent"];
    EXPECT_TRUE(extent["west"].get<double>() > 179.0 && extent["east"].get<double>() < -179.0) << extent.dump();
}

} // namespace
