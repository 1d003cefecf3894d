// What a user checks after running the demo host on the built-in countries: every country drawn
// and counted, the known countries in their classes, labels where the countries are, scenes that
// read back consistently on the globe, a saved theme that applies again, and bad input refused.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <tuple>
#include <string>
#include <sys/wait.h>
#include <vector>

#include <nlohmann/json.hpp>

#include "GlbRead.h"

using nlohmann::json;

namespace {

const std::string kOut = T3D_DEMO_OUT, kScratch = T3D_DEMO_SCRATCH, kTestData = T3D_DEMO_TEST_DATA;
// The built-in countries as the layer to draw
const std::string kCountriesData = " --data " + std::string(T3D_DEMO_DATA);
constexpr size_t kCountries = 177;

std::string ReadBytes(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

json ReadJson(const std::string& path)
{
    const std::string text = ReadBytes(path);
    return json::parse(text, nullptr, false);
}

struct Result {
    int status = -1;
    std::string output;
};

Result RunDemo(const std::string& args, const std::string& shellPrefix = "")
{
    Result r;
    const std::string command = shellPrefix + "exec env " + std::string(T3D_DEMO_ENV) + " " + T3D_DEMO_EXE + " --no-progress " + args + " 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return r;
    char buf[4096];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, pipe)) > 0) r.output.append(buf, n);
    const int status = pclose(pipe);
    r.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128;
    return r;
}

// The record of the feature whose id (country name) is given; null when there is none
json FeatureOf(const json& features, const std::string& id)
{
    for (const auto& f : features["features"]) {
        if (f.value("id", "") == id) return f;
    }
    return json();
}

size_t LegendSum(const json& legend)
{
    size_t sum = 0;
    for (const auto& e : legend["entries"]) sum += e["count"].get<size_t>();
    return sum;
}

// The chunks of a .glb: its JSON and its binary buffer, compressed views decoded (empty when the
// file is malformed)
std::pair<json, std::string> ReadGlb(const std::string& path)
{
    return t3d_test::ParseGlb(ReadBytes(path));
}

// Bytes of an accessor's element i (tightly packed views)
const char* Element(const json& doc, const std::string& bin, int accessor, size_t i, size_t size)
{
    const json& a = doc["accessors"][accessor];
    const json& view = doc["bufferViews"][a["bufferView"].get<size_t>()];
    const size_t at = view["byteOffset"].get<size_t>() + a.value("byteOffset", size_t(0)) + i * size;
    return at + size <= bin.size() ? bin.data() + at : nullptr;
}

// The smallest and largest distance from the Earth's centre of the vertices of a .glb (the glTF
// validator checks the file's structure)
void CheckGlb(const std::string& path, double& minRadius, double& maxRadius)
{
    SCOPED_TRACE(path);
    const auto [doc, bin] = ReadGlb(path);
    ASSERT_TRUE(doc.is_object());
    double origin[3];
    for (int k = 0; k < 3; ++k) origin[k] = doc["nodes"][0]["translation"][k];
    minRadius = 1e300, maxRadius = 0;
    for (const auto& mesh : doc["meshes"]) {
        for (const auto& primitive : mesh["primitives"]) {
            const int positions = primitive["attributes"]["POSITION"];
            for (size_t i = 0; i < doc["accessors"][positions]["count"].get<size_t>(); ++i) {
                const char* at = Element(doc, bin, positions, i, 12);
                ASSERT_TRUE(at);
                float p[3];
                std::memcpy(p, at, sizeof p);
                double r2 = 0;
                for (int k = 0; k < 3; ++k) r2 += (p[k] + origin[k]) * (p[k] + origin[k]);
                minRadius = std::min(minRadius, std::sqrt(r2));
                maxRadius = std::max(maxRadius, std::sqrt(r2));
            }
        }
    }
}

} // namespace

TEST(DemoTour, EveryCountryIsDrawnCountedAndClassified)
{
    for (const char* name : {"unique", "range", "label", "graph", "custom"}) {
        SCOPED_TRACE(name);
        const json legend = ReadJson(kOut + "/" + name + ".legend.json");
        ASSERT_FALSE(legend.is_discarded());
        EXPECT_EQ(legend["features"].get<size_t>(), kCountries);
        EXPECT_EQ(legend["drawn"].get<size_t>(), kCountries);
        const json features = ReadJson(kOut + "/" + name + ".features.json");
        EXPECT_EQ(features["features"].size(), kCountries);
    }
    // The unique theme's continents, the range theme's quantile classes (about a fifth of the
    // countries each, the most populous in the last) and the labels count each country once
    const json unique = ReadJson(kOut + "/unique.legend.json"), range = ReadJson(kOut + "/range.legend.json");
    EXPECT_EQ(unique["classes"].get<int>(), 8);
    ASSERT_EQ(range["classes"].get<int>(), 5);
    for (int i = 0; i < 5; ++i) EXPECT_NEAR(range["entries"][i]["count"].get<double>(), kCountries / 5.0, 2.0);
    for (const json& legend : {unique, range, ReadJson(kOut + "/label.legend.json")}) EXPECT_EQ(LegendSum(legend), kCountries);
    const json uniqueFeatures = ReadJson(kOut + "/unique.features.json"), rangeFeatures = ReadJson(kOut + "/range.features.json");
    for (const auto& [country, continent] : std::map<std::string, std::string>{
             {"France", "Europe"}, {"Brazil", "South America"}, {"Japan", "Asia"}, {"Australia", "Oceania"}})
        EXPECT_EQ(FeatureOf(uniqueFeatures, country)["caption"], continent) << country;
    for (const auto& [country, entry] : std::map<std::string, int>{{"China", 4}, {"India", 4}, {"Iceland", 0}, {"Fiji", 0}})
        EXPECT_EQ(FeatureOf(rangeFeatures, country)["entry"], entry) << country;

    const json labels = ReadJson(kOut + "/label.labels.json");
    EXPECT_EQ(labels["labels"].size(), kCountries);
    // France's label stands in metropolitan France, the largest part of the country
    const auto france = std::find_if(labels["labels"].begin(), labels["labels"].end(), [](const json& l) { return l["text"] == "France"; });
    ASSERT_NE(france, labels["labels"].end());
    const double lon = (*france)["lon"], lat = (*france)["lat"];
    EXPECT_TRUE(-5.0 < lon && lon < 9.0 && 42.0 < lat && lat < 51.5) << *france;

    // Every country has a population and an economy: both bar series stand everywhere
    const json graph = ReadJson(kOut + "/graph.legend.json");
    ASSERT_EQ(graph["entries"].size(), 2u);
    EXPECT_EQ(graph["entries"][0]["value"], "pop_est");
    EXPECT_EQ(graph["entries"][1]["value"], "gdp_md_est");
    EXPECT_GE(graph["entries"][0]["count"].get<size_t>(), kCountries - 2);
}

TEST(DemoTour, ScenesReadBackOnTheGlobe)
{
    // WGS84: the polar and the equatorial radius, with room for float rounding of a few metres
    const double polar = 6356752.3, equatorial = 6378137.0;
    double lo = 0, hi = 0;
    for (const char* name : {"unique", "range", "label"}) {
        CheckGlb(kOut + "/" + name + ".glb", lo, hi);
        EXPECT_GT(lo, polar - 50.0);
        EXPECT_LT(hi, equatorial + 50.0);
    }
    // Extruded countries and charts rise above the surface, but stay below the Moon
    for (const char* name : {"custom", "graph"}) {
        CheckGlb(kOut + "/" + name + ".glb", lo, hi);
        EXPECT_GT(lo, polar - 50.0);
        EXPECT_GT(hi, equatorial + 100000.0);
        EXPECT_LT(hi, equatorial * 1.5);
    }
}

TEST(DemoTour, SavedThemeAppliesAgain)
{
    const Result again = RunDemo("--theme " + kOut + "/range.theme.xml --name again --out " + kScratch);
    ASSERT_EQ(again.status, 0) << again.output;
    // The same classes, captions, colours and counts
    EXPECT_EQ(ReadJson(kOut + "/range.legend.json")["entries"], ReadJson(kScratch + "/again.legend.json")["entries"]);
}

// Damaged copies of the built-in shapefile and other inputs a user gets wrong, made in scratch
std::string MakeBadInputs(const std::string& scratch)
{
    const std::string shp = std::string(T3D_DEMO_DATA);
    const std::string stem = shp.substr(0, shp.size() - 4);
    // The folder may be missing (run alone, before the tour) or hold an earlier run's refusals
    std::filesystem::remove_all(scratch + "/refused");
    std::filesystem::create_directories(scratch);
    const std::string script = "cd " + scratch + " && mkdir -p trunc noshx && for e in shp shx dbf prj cpg; do cp " +
                               stem + ".$e trunc/c.$e; done && cp " + stem + ".shp " + stem +
                               ".dbf noshx/ && truncate -s 60000 trunc/c.shp";
    EXPECT_EQ(std::system(script.c_str()), 0);
    std::ofstream(scratch + "/junk.xml") << "<tdx:Theme3D><tdx:Type>2</tdx:Type><broken";
    // The tour's range document with a type code that does not match, and with inverted breaks
    const std::string range = ReadBytes(kOut + "/range.theme.xml");
    std::string typed = range, inverted = range;
    typed.replace(typed.find("<tdx:Type>2<"), 12, "<tdx:Type>1<");
    for (size_t at; (at = inverted.find("6855713")) != std::string::npos;) inverted.replace(at, 7, "100000000");
    std::ofstream(scratch + "/typed.xml") << typed;
    std::ofstream(scratch + "/inverted.xml") << inverted;
    std::ofstream(scratch + "/text.txt") << "not a table\n";
    std::ofstream(scratch + "/empty.geojson") << R"({"type":"FeatureCollection","features":[]})";
    return scratch;
}

TEST(DemoInput, BadInvocationsFailWithOneLineAndTheirReason)
{
    const std::string scratch = MakeBadInputs(kScratch), data = kCountriesData;
    const std::string places = " --data " + kTestData + "/places.csv", dated = " --data " + kTestData + "/dated.geojson";
    struct Case {
        std::string args;
        int status;
        std::string fragment;
    };
    const std::vector<Case> cases = {
        {"--bogus", 1, "unknown option '--bogus'"},
        {"--x-field lon --unique name", 1, "--x-field and --y-field go together"},
        {"--plugin /nonexistent/TrTheme3DBase.t3d", 2, "cannot load the theme plug-in"},
        // Reading: GDAL's or the system's reason, never a bare "cannot open"
        {"--data /nonexistent/countries.shp --unique continent", 2, "No such file or directory"},
        {"--data " + scratch + "/text.txt --unique name", 2, "not in a vector format"},
        {"--data " + scratch + "/noshx/naturalearth_lowres.shp --unique name", 2, "Unable to open"},
        {"--data " + scratch + "/trunc/c.shp --unique name", 2, "Error in fread()"},
        {"--data " + scratch + "/empty.geojson --label name", 2, "holds no features"},
        {places + " --unique name", 2, "has no geometry; name its longitude and latitude fields"},
        {places + " --unique name --x-field lon --y-field lat", 2, "no number in 'lon' or 'lat'"},
        {places + " --unique name --x-field lon --y-field latitude", 2, "fields: name, country, population, lon, lat"},
        {data + " --layer nope --unique name", 2, "layers: naturalearth_lowres"},
        // Building
        {data + " --unique no_such_field", 2, "no field 'no_such_field' (fields: pop_est, continent, name,"},
        {data + " --range name", 2, "'name' is not numeric"},
        {data + " --chart pie --fields pop_est,continent", 2, "'continent' is not numeric"},
        {data + " --theme " + scratch + "/junk.xml", 2, "not a theme document"},
        {data + " --theme /nonexistent/theme.xml", 2, "No such file or directory"},
        {data + " --theme " + scratch + "/typed.xml", 2, "says type 1 (unique) but holds range content"},
        {data + " --theme " + scratch + "/inverted.xml", 2, "out of ascending order at break 2: 100000000 then"},
        {data + " --unique continent --max-classes 0", 1, "--max-classes needs a whole number of at least 1"},
        {data + " --custom Altitude=pop_est", 2, "(properties: AltitudeMode, BottomAltitude, ExtendHeight,"},
        {data + " --range pop_est --classes 1", 2, "class count"},
        {data + " --label name --format d", 2, "is not one real conversion such as .2f"},
        // Options that would change nothing
        {"--classes 3", 1, "--classes has no effect without a theme option"},
        {"--name x", 1, "--name has no effect without a theme option"},
        {data + " --unique continent --format .2f", 1, "--format has no effect with --unique; it applies to --label"},
        {data + " --range pop_est --interval 5", 1, "--interval has no effect with --method quantile"},
        {data + " --range pop_est --method 5 --interval 9 --classes 4", 1, "--classes has no effect with --method"},
        {data + " --label name --height-scale 2", 1, "--height-scale has no effect with --label"},
        {data + " --custom ExtendHeight=pop_est --bar-width 9", 1, "--bar-width has no effect with --custom"},
        {data + " --chart bar --fields pop_est --height-scale 2 --series-scale independent", 1,
         "cannot go with --series-scale independent"},
        {data + " --chart bar --fields pop_est --height-scale 2 --size-range 0,9", 1, "give one of them"},
        {data + " --chart bar --fields pop_est --series-scale log", 1, "takes independent or shared, not 'log'"},
        {data + " --chart pie --fields pop_est --size-range 9,3", 1, "0 <= MIN <= MAX"},
        {data + " --theme " + kOut + "/range.theme.xml --bar-width 5", 2, "chart options have no effect on the range"},
        {data + " --range pop_est --method jenks", 1, "--method takes one of equal|sqrt|"},
        {dated + " --range v --method calendar", 2, "calendar method needs a date field"},
    };
    for (const Case& c : cases) {
        const Result r = RunDemo(c.args + " --out " + scratch + "/refused");
        EXPECT_EQ(r.status, c.status) << c.args << ": " << r.output;
        EXPECT_NE(r.output.find(c.fragment), std::string::npos) << c.args << ": " << r.output;
        // The reason is on one line, not under a page of usage or a stream of GDAL messages
        const size_t lines = static_cast<size_t>(std::count(r.output.begin(), r.output.end(), '\n'));
        EXPECT_LE(lines, 3u) << c.args << ": " << r.output;
    }
    EXPECT_TRUE(!std::filesystem::exists(scratch + "/refused") || std::filesystem::is_empty(scratch + "/refused"));
}

TEST(DemoInput, LenientReadingSkipsAndCountsWhatGdalCannotRead)
{
    const std::string scratch = MakeBadInputs(kScratch);
    const Result shp = RunDemo("--data " + scratch + "/trunc/c.shp --lenient --unique name --out " + scratch + "/lenient");
    ASSERT_EQ(shp.status, 0) << shp.output;
    const json legend = ReadJson(scratch + "/lenient/unique.legend.json");
    const size_t read = legend["features"].get<size_t>();
    EXPECT_GT(read, 0u);
    EXPECT_NE(shp.output.find("skipped " + std::to_string(kCountries - read) + " features"), std::string::npos)
        << shp.output;
    // McMurdo Station belongs to no country: drawn, but not labelled "<NULL>"
    const Result csv = RunDemo("--data " + kTestData + "/places.csv --x-field lon --y-field lat --lenient --label country --out " +
                               scratch + "/lenient");
    ASSERT_EQ(csv.status, 0) << csv.output;
    EXPECT_NE(csv.output.find("skipped 1 features"), std::string::npos) << csv.output;
    EXPECT_EQ(ReadJson(scratch + "/lenient/label.legend.json")["drawn"].get<size_t>(), 6u);
    EXPECT_EQ(ReadJson(scratch + "/lenient/label.labels.json")["labels"].size(), 5u);

    // Tiled, the same records are skipped and counted, or name the reason the run fails
    const std::string shpArgs = "--tiles --data " + scratch + "/trunc/c.shp --unique name --out " + scratch + "/tiled";
    const std::string csvArgs = "--tiles --data " + kTestData + "/places.csv --x-field lon --y-field lat --label country --out " +
                                scratch + "/tiled";
    const struct {
        std::string args;
        int status;
        std::string fragment;
    } tiled[] = {
        {shpArgs + " --lenient", 0, "skipped " + std::to_string(kCountries - read) + " features"},
        {shpArgs, 2, "GDAL reported an error reading feature"},
        {csvArgs + " --lenient", 0, "skipped 1 features"},
        {csvArgs, 2, "has no number in 'lon' or 'lat' (--lenient skips them)"},
    };
    for (const auto& c : tiled) {
        const Result r = RunDemo(c.args);
        EXPECT_EQ(r.status, c.status) << c.args << ": " << r.output;
        EXPECT_NE(r.output.find(c.fragment), std::string::npos) << c.args << ": " << r.output;
    }
    EXPECT_TRUE(std::filesystem::exists(scratch + "/tiled/label/tileset.json"));
}

TEST(DemoResults, ClassificationByNameWithNoDataAndDates)
{
    const std::string out = kScratch + "/classified", dated = "--data " + kTestData + "/dated.geojson --out " + out;
    for (const std::string args : {" --range when --method calendar --classes 4", " --range v --method natural --classes 3"}) {
        const Result r = RunDemo(dated + args);
        ASSERT_EQ(r.status, 0) << r.output;
        const json legend = ReadJson(out + "/range.legend.json");
        const bool dates = args.find("calendar") != std::string::npos;
        EXPECT_EQ(legend["method"], dates ? "calendar" : "natural");
        EXPECT_EQ(legend["noData"].get<int>(), dates ? 1 : 2);
        const json& entries = legend["entries"];
        const auto none = std::find_if(entries.begin(), entries.end(), [](const json& e) { return e["role"] == "nodata"; });
        ASSERT_NE(none, entries.end());
        EXPECT_EQ((*none)["count"], legend["noData"]);
        for (const json& e : entries) EXPECT_TRUE(e["role"] == "nodata" || e["hex"] != (*none)["hex"]) << e;
        // Every feature lies in one class or in no data
        size_t classified = 0;
        for (const json& c : legend["classStatistics"]) classified += c["count"].get<size_t>();
        EXPECT_EQ(classified + legend["noData"].get<size_t>(), 10u);
        EXPECT_EQ(LegendSum(legend), 10u);
        EXPECT_GT(legend["goodnessOfVarianceFit"].get<double>(), 0.5);
        if (dates) {
            EXPECT_EQ(legend["breakDates"], json({"2020", "2021", "2022"}));
            EXPECT_EQ(entries[1]["caption"], "2020 - 2021");
        }
    }
}

TEST(DemoOutput, FailedWriteLeavesNoFileAndNamesTheMissingOnes)
{
    // A file-size limit fails a write with the system's reason as a full disk would, for root too
    const std::string out = kScratch + "/limited";
    std::filesystem::remove_all(out);
    const Result r = RunDemo(kCountriesData + " --unique continent --out " + out, "ulimit -f 100; ");
    EXPECT_EQ(r.status, 3) << r.output;
    EXPECT_NE(r.output.find("File too large"), std::string::npos) << r.output;
    EXPECT_NE(r.output.find("not written: " + out + "/unique.glb, " + out + "/unique.theme.xml"), std::string::npos)
        << r.output;
    EXPECT_TRUE(std::filesystem::is_empty(out)) << "a temporary or partial file is left";
}

TEST(DemoResults, NumericClassesSortAsNumbersAndTheClassLimitIsStated)
{
    const std::string out = kScratch + "/results";
    const Result r = RunDemo(kCountriesData + " --unique gdp_md_est --max-classes 40 --out " + out);
    ASSERT_EQ(r.status, 0) << r.output;
    const json legend = ReadJson(out + "/unique.legend.json");
    EXPECT_EQ(legend["classLimit"].get<int>(), 40);
    EXPECT_EQ(legend["classes"].get<int>(), 40);
    const std::string distinct = std::to_string(legend["distinctValues"].get<int>());
    EXPECT_NE(r.output.find("warning: 'gdp_md_est' has " + distinct + " distinct values; the 40"), std::string::npos);
    for (size_t i = 1; i < 40; ++i) {
        EXPECT_LT(std::stod(legend["entries"][i - 1]["value"].get<std::string>()),
                  std::stod(legend["entries"][i]["value"].get<std::string>()));
    }
    // Under the limit nothing is dropped and nothing is said
    const Result all = RunDemo(kCountriesData + " --unique continent --out " + out);
    EXPECT_EQ(all.output.find("warning"), std::string::npos) << all.output;
    EXPECT_EQ(ReadJson(out + "/unique.legend.json")["classLimit"].get<int>(), 1024);
}

TEST(DemoTour, ManifestNamesEveryThemeAndSceneVerticesNameTheirFeatureAndLegendColour)
{
    const json manifest = ReadJson(kOut + "/scene.json");
    ASSERT_FALSE(manifest.is_discarded());
    EXPECT_EQ(manifest["layer"]["features"].get<size_t>(), kCountries);
    std::vector<std::string> names;
    for (const auto& theme : manifest["themes"]) {
        names.push_back(theme["name"]);
        for (const char* file : {"glb", "xml", "legend", "features"}) EXPECT_FALSE(ReadBytes(kOut + "/" + theme[file].get<std::string>()).empty());
        EXPECT_EQ(theme.contains("labels"), theme["kind"] == "label");
        EXPECT_LT(theme["extent"]["west"].get<double>(), theme["extent"]["east"].get<double>());
    }
    EXPECT_EQ(names, (std::vector<std::string>{"unique", "range", "label", "graph", "custom"}));

    // Every surface vertex carries its country's id, the feature table names that country, and
    // its primitive's linear colour turns back into the screen colour of the country's legend entry
    const auto [doc, bin] = ReadGlb(kOut + "/unique.glb");
    ASSERT_TRUE(doc.is_object());
    const json features = ReadJson(kOut + "/unique.features.json")["features"];
    const json entries = ReadJson(kOut + "/unique.legend.json")["entries"];
    const json& table = doc["extensions"]["EXT_structural_metadata"]["propertyTables"][0];
    ASSERT_EQ(table["count"].get<size_t>(), kCountries);
    const int textView = table["properties"]["name"]["values"], offsetView = table["properties"]["name"]["stringOffsets"];
    auto tableName = [&](size_t id) {
        std::uint32_t range[2];
        std::memcpy(range, bin.data() + doc["bufferViews"][offsetView]["byteOffset"].get<size_t>() + id * 4, 8);
        return bin.substr(doc["bufferViews"][textView]["byteOffset"].get<size_t>() + range[0], range[1] - range[0]);
    };
    auto srgb = [](double c) {
        return static_cast<int>(std::lround(255.0 * (c <= 0.0031308 ? c * 12.92 : 1.055 * std::pow(c, 1 / 2.4) - 0.055)));
    };
    std::map<size_t, size_t> checked;
    for (const json& primitive : doc["meshes"][0]["primitives"]) {
        const json& factor = doc["materials"][primitive["material"].get<size_t>()]["pbrMetallicRoughness"]["baseColorFactor"];
        char hex[8];
        std::snprintf(hex, sizeof hex, "#%02x%02x%02x", srgb(factor[0]), srgb(factor[1]), srgb(factor[2]));
        const int ids = primitive["attributes"]["_FEATURE_ID_0"];
        std::map<size_t, size_t> shown;
        for (size_t i = 0; i < doc["accessors"][ids]["count"].get<size_t>(); ++i) {
            float id = -1.0f;
            const char* idAt = Element(doc, bin, ids, i, 4);
            ASSERT_TRUE(idAt);
            std::memcpy(&id, idAt, 4);
            ASSERT_TRUE(id >= 0.0f && id < kCountries && id == std::floor(id)) << id;
            const json& feature = features[static_cast<size_t>(id)];
            ASSERT_EQ(feature["index"].get<float>(), id);
            if (shown[feature["index"]]++ > 0) continue;
            if (checked[feature["index"]]++ == 0) {
                EXPECT_EQ(tableName(feature["index"]), feature["id"].get<std::string>());
            }
            ASSERT_EQ(hex, entries[feature["entry"].get<size_t>()]["hex"].get<std::string>()) << feature["id"];
        }
        EXPECT_EQ(primitive["extensions"]["EXT_mesh_features"]["featureIds"][0]["featureCount"].get<size_t>(), shown.size());
    }
    EXPECT_EQ(checked.size(), kCountries);
}

TEST(DemoResults, ChartAndCustomHeightsInMetresPerUnitAndSeriesOnTheirOwnScale)
{
    const std::string out = kScratch + "/heights", data = kCountriesData;
    // China's 1,397,715,000 people at a millimetre each: 1,398 km above the ground, wherever it stands
    const double top = 1397715.0, polar = 6356752.3, equatorial = 6378137.0;
    for (const char* theme : {"--chart bar --fields pop_est,gdp_md_est --series-scale shared", "--chart stacked --fields pop_est",
                              "--custom ExtendHeight=pop_est"}) {
        const Result r = RunDemo(data + " " + theme + " --height-scale 0.001 --name h --out " + out);
        ASSERT_EQ(r.status, 0) << theme << ": " << r.output;
        double lo = 0, hi = 0;
        CheckGlb(out + "/h.glb", lo, hi);
        EXPECT_GT(hi, polar + top - 50.0) << theme;
        EXPECT_LT(hi, equatorial + top + 50.0) << theme;
        const json legend = ReadJson(out + "/h.legend.json");
        for (const auto& e : legend["entries"]) EXPECT_EQ(e.value("metresPerUnit", legend.value("heightScale", 0.0)), 0.001);
    }
    // Bars by default: GDP in millions of dollars gets its own, far larger, metres per unit
    ASSERT_EQ(RunDemo(data + " --chart bar --fields pop_est,gdp_md_est --bar-width 40000 --out " + out).status, 0);
    json legend = ReadJson(out + "/graph.legend.json");
    EXPECT_EQ(legend["seriesScale"], "independent");
    EXPECT_EQ(legend["barWidth"].get<double>(), 40000.0);
    EXPECT_GT(legend["entries"][1]["metresPerUnit"].get<double>() / legend["entries"][0]["metresPerUnit"].get<double>(), 20.0);
    // Pies share one scale unless told, and take the size range as given
    ASSERT_EQ(RunDemo(data + " --chart pie --fields pop_est,gdp_md_est --size-range 1000,90000 --out " + out).status, 0);
    legend = ReadJson(out + "/graph.legend.json");
    EXPECT_EQ(legend["seriesScale"], "shared");
    EXPECT_EQ(legend["sizeRange"], json::array({1000.0, 90000.0}));
    // By default pies are proportional symbols, areas following the totals, the largest one
    // hundreds of kilometres across rather than radii in proportion that leave most pies a dot
    ASSERT_EQ(RunDemo(data + " --chart pie --fields pop_est,gdp_md_est --out " + out).status, 0);
    legend = ReadJson(out + "/graph.legend.json");
    EXPECT_EQ(legend["graduation"], "square root");
    EXPECT_GT(legend["sizeRange"][1].get<double>() / 4.0, 200000.0);
}

TEST(DemoResults, PointsStandAsClosedMarkersOrColumnsAsTallAsTheirValue)
{
    const std::string out = std::string(T3D_DEMO_SCRATCH) + "/points";
    const std::string data = " --data " + std::string(T3D_DEMO_TEST_DATA) + "/../world/points.gpkg --name p --out " + out;
    const double scale = 0.0005;
    double prism = 0.0;
    for (const bool columns : {false, true}) {
        SCOPED_TRACE(columns ? "columns" : "markers");
        const Result r = RunDemo(data + (columns ? " --custom ExtendHeight=pop_est --height-scale 0.0005" : " --unique name"));
        ASSERT_EQ(r.status, 0) << r.output;
        const auto [doc, bin] = ReadGlb(out + "/p.glb");
        ASSERT_TRUE(doc.is_object());
        const auto& t = doc["nodes"][0]["translation"];
        // Per feature: its lowest and highest point from the Earth's centre, and how often each
        // edge of its triangles is used (twice everywhere on a closed solid)
        std::map<size_t, std::pair<double, double>> radii;
        std::map<std::tuple<size_t, size_t, size_t>, int> edges;
        for (size_t p = 0; p < doc["meshes"][0]["primitives"].size(); ++p) {
            const json& primitive = doc["meshes"][0]["primitives"][p];
            ASSERT_EQ(primitive["mode"].get<int>(), 4) << "points are drawn as solids, not as GL points";
            const int positions = primitive["attributes"]["POSITION"], ids = primitive["attributes"]["_FEATURE_ID_0"];
            const int indices = primitive["indices"];
            const size_t width = doc["accessors"][indices]["componentType"] == 5123 ? 2 : 4;
            for (size_t i = 0; i + 2 < doc["accessors"][indices]["count"].get<size_t>(); i += 3) {
                std::uint32_t v[3] = {0, 0, 0};
                for (int k = 0; k < 3; ++k) std::memcpy(&v[k], Element(doc, bin, indices, i + k, width), width);
                for (int k = 0; k < 3; ++k) ++edges[{p, std::min(v[k], v[(k + 1) % 3]), std::max(v[k], v[(k + 1) % 3])}];
                float id = 0.0f, xyz[3];
                std::memcpy(&id, Element(doc, bin, ids, v[0], 4), 4);
                auto& range = radii.emplace(static_cast<size_t>(id), std::make_pair(1e300, 0.0)).first->second;
                for (int k = 0; k < 3; ++k) {
                    std::memcpy(xyz, Element(doc, bin, positions, v[k], 12), 12);
                    const double radius = std::hypot(xyz[0] + t[0].get<double>(), xyz[1] + t[1].get<double>(), xyz[2] + t[2].get<double>());
                    range = {std::min(range.first, radius), std::max(range.second, radius)};
                }
            }
        }
        for (const auto& [edge, uses] : edges) ASSERT_EQ(uses, 2) << "an open edge in primitive " << std::get<0>(edge);
        const json features = ReadJson(out + "/p.features.json")["features"];
        ASSERT_EQ(radii.size(), features.size());
        if (!columns) prism = radii.begin()->second.second - radii.begin()->second.first;
        // A marker's rims lie in the plane tangent to the ellipsoid at its foot, which tilts by up to
        // 0.2 degrees against the distance from the Earth's centre, and curves away below them
        const double curve = prism * 0.006 + 2.0;
        for (const auto& [id, range] : radii) {
            const json& value = features[id]["attributes"]["pop_est"];
            const bool column = columns && value.is_number() && value.get<double>() > 0.0;
            EXPECT_NEAR(range.second - range.first, column ? value.get<double>() * scale : prism, curve) << features[id]["id"];
        }
    }
    EXPECT_GT(prism, 100.0);
}
