#include "DemoOptions.h"

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <set>

#include "KrClassifier.h"

namespace KRN {

namespace {

bool ParseDouble(const std::string& text, double& value)
{
    if (text.empty()) return false;
    char* end = nullptr;
    errno = 0;
    const double v = std::strtod(text.c_str(), &end);
    if (*end != 0 || errno == ERANGE || !std::isfinite(v)) return false;
    value = v;
    return true;
}

bool ParseInt(const std::string& text, int& value)
{
    if (text.empty()) return false;
    char* end = nullptr;
    errno = 0;
    const long v = std::strtol(text.c_str(), &end, 10);
    if (*end != 0 || errno == ERANGE || v < INT_MIN || v > INT_MAX) return false;
    value = static_cast<int>(v);
    return true;
}

std::vector<std::string> Split(const std::string& text, char sep)
{
    std::vector<std::string> parts;
    size_t start = 0;
    while (start <= text.size()) {
        const size_t at = text.find(sep, start);
        const std::string part = text.substr(start, at == std::string::npos ? std::string::npos : at - start);
        if (!part.empty()) parts.push_back(part);
        if (at == std::string::npos) break;
        start = at + 1;
    }
    return parts;
}

std::string MethodNames()
{
    std::string names;
    for (int m = 0; m <= static_cast<int>(KrClassMethod::Calendar); ++m)
        names += std::string(m ? "|" : "") + KrClassifier::MethodName(static_cast<KrClassMethod>(m));
    return names;
}

// One line per classification method, its code and what it does
std::string MethodList()
{
    std::string list;
    for (int m = 0; m <= static_cast<int>(KrClassMethod::Calendar); ++m) {
        char line[160];
        const auto method = static_cast<KrClassMethod>(m);
        std::snprintf(line, sizeof line, "      %-10s %2d  %s\n", KrClassifier::MethodName(method), m,
                      KrClassifier::MethodDescription(method));
        list += line;
    }
    return list;
}

// The tour that runs without theme options, on the built-in countries
std::vector<DemoRun> Tour()
{
    std::vector<DemoRun> runs(5);
    runs[0].name = "unique";
    runs[0].request.kind = KrTheme3D::Theme3DUnique;
    runs[0].request.field = "continent";
    runs[1].name = "range";
    runs[1].request.kind = KrTheme3D::Theme3DRange;
    runs[1].request.field = "pop_est";
    runs[1].request.method = 4;
    runs[1].request.classes = 5;
    runs[2].name = "label";
    runs[2].request.kind = KrTheme3D::Theme3DLabel;
    runs[2].request.field = "name";
    runs[3].name = "graph";
    runs[3].request.kind = KrTheme3D::Theme3DGraph;
    runs[3].request.chartType = 4;
    runs[3].request.chartFields = {"pop_est", "gdp_md_est"};
    runs[4].name = "custom";
    runs[4].request.kind = KrTheme3D::Theme3DCustom;
    runs[4].request.customProperties = {{"ExtendHeight", "pop_est"}};
    // People as metres would raise China 1,400 km into space: one metre per 2,000 people
    runs[4].heightScale = 0.0005;
    return runs;
}

// Options that only some theme options use, with the kind codes they apply to (0: --theme)
struct Scoped {
    const char* option;
    std::set<int> kinds;
    const char* appliesTo;
};

const std::vector<Scoped>& ScopedOptions()
{
    static const std::vector<Scoped> options = {
        {"--method", {2}, "--range"},
        {"--classes", {2}, "--range"},
        {"--interval", {2}, "--range with the fixed-interval method"},
        {"--max-classes", {1}, "--unique"},
        {"--format", {3}, "--label"},
        {"--fields", {4}, "--chart"},
        {"--series-scale", {0, 4}, "--chart and saved chart themes"},
        {"--bar-width", {0, 4}, "--chart and saved chart themes"},
        {"--size-range", {0, 4}, "--chart and saved chart themes"},
        {"--height-scale", {0, 4, 5}, "--chart, --custom and saved themes"},
        {"--name", {0, 1, 2, 3, 4, 5}, "a theme option"},
    };
    return options;
}

const char* KindOption(int kind)
{
    static const char* const names[] = {"--theme", "--unique", "--range", "--label", "--chart", "--custom"};
    return kind >= 0 && kind <= 5 ? names[kind] : "the theme";
}

bool ParseRange(const std::string& text, double& low, double& high)
{
    const size_t comma = text.find(',');
    return comma != std::string::npos && ParseDouble(text.substr(0, comma), low) &&
           ParseDouble(text.substr(comma + 1), high) && low >= 0.0 && high > 0.0 && low <= high;
}

} // namespace

std::string DemoOptions::Usage()
{
    std::string properties;
    size_t line = 38;
    for (const std::string& name : DemoThemeBuilder::CustomPropertyNames()) {
        if (line + name.size() + 1 > 100) {
            properties += "\n                      ";
            line = 22;
        }
        properties += " " + name;
        line += name.size() + 1;
    }
    return "usage: t3d_demo [options] [theme]\n"
           "  --data FILE          vector data set (any format GDAL reads); default: the built-in countries\n"
           "  --layer NAME         layer of the data set (default: the first)\n"
           "  --x-field F --y-field F   longitude and latitude fields of a layer without geometry\n"
           "  --lenient            skip the features GDAL cannot read (and say how many) instead of failing\n"
           "  --plugin FILE        the theme plug-in TrTheme3DBase.t3d\n"
           "  --out DIR            output folder (default: t3d-demo-out)\n"
           "  --name NAME          base name of the output files (default: the theme kind)\n"
           "  --id FIELD           field naming the features in NAME.features.json\n"
           "  --height-scale M     metres of height per unit of the value, stated in the legend: for the\n"
           "                       custom theme's height fields, chart values (one scale for every series)\n"
           "                       and the heights of a saved theme's styles (default 1; charts: automatic)\n"
           "  --no-progress        no progress bar\n"
           "  --tour               all five kinds of the built-in tour on the --data layer (it needs continent,\n"
           "                       pop_est, gdp_md_est and name)\n"
           "  --tiles              write a 3D Tiles tileset per theme (OUT/NAME/tileset.json) instead of one scene\n"
           "  --threads N          threads drawing tiles (default: one per core)\n"
           "  --tile-features N    most features in one tile content (default 8192)\n"
           "theme (one; without any, all five kinds run on the built-in data):\n"
           "  --theme FILE         a saved theme document (tdx:Theme3D)\n"
           "  --unique FIELD [--max-classes N]\n"
           "                       unique values of a field; beyond N classes (default 1024) the least\n"
           "                       frequent values are drawn as \"Other values\", with a warning\n"
           "  --range FIELD [--method NAME] [--classes K] [--interval W]\n"
           "                       ranges of a numeric or date field (quantiles and 5 classes by default;\n"
           "                       --interval only with the fixed-interval method); NAME or its code:\n" +
           MethodList() +
           "  --label FIELD [--format FMT]\n"
           "                       labels; FMT is a C number format for real values, with or without '%':\n"
           "                         .2f  fixed decimals      3.14159 -> 3.14\n"
           "                         .3e  exponent            3.14159 -> 3.142e+00\n"
           "                         .4g  significant digits  3.14159 -> 3.142\n"
           "                       with optional flags and width (+.1f, 8.2f); whole numbers print in full\n"
           "  --chart bar|stacked|pie --fields A,B,... [--series-scale independent|shared]\n"
           "          [--bar-width M] [--size-range MIN,MAX]\n"
           "                       charts of numeric fields. independent (default for bars) measures each\n"
           "                       series against its own largest value; shared (default for stacks and\n"
           "                       pies) uses one scale. --bar-width: bar diameter in metres; --size-range:\n"
           "                       chart heights in metres for the smallest and largest total\n"
           "  --custom PROP=FIELD[,PROP=FIELD...]\n"
           "                       custom style properties from fields (or numbers), e.g. ExtendHeight=pop_est;\n"
           "                       PROP is one of:" +
           properties + "\n";
}

bool DemoOptions::Parse(int argc, const char* const* argv, std::string& error)
{
    DemoRun run;
    bool themeGiven = false;
    double heightScale = 1.0;
    bool heightGiven = false;
    std::string name;
    std::set<std::string> given;
    auto setKind = [&](int kind, const std::string& option) {
        if (themeGiven) {
            error = "only one theme option may be given (" + option + ")";
            return false;
        }
        themeGiven = true;
        run.request.kind = kind;
        return true;
    };
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        auto value = [&](std::string& out) {
            if (i + 1 >= argc) {
                error = "the option " + arg + " needs a value";
                return false;
            }
            out = argv[++i];
            return true;
        };
        std::string v;
        if (arg.compare(0, 2, "--") == 0) given.insert(arg);
        if (arg == "--help" || arg == "-h") {
            help = true;
        } else if (arg == "--tour") {
            tour = true;
        } else if (arg == "--no-progress") {
            progress = false;
        } else if (arg == "--tiles") {
            tiles = true;
        } else if (arg == "--threads" || arg == "--tile-features") {
            int n = 0;
            if (!value(v) || !ParseInt(v, n) || n < (arg == "--threads" ? 1 : 16) || n > 1 << 20) {
                error = arg + (arg == "--threads" ? " needs a whole number of 1 or more" : " needs a whole number from 16 to 1048576");
                return false;
            }
            (arg == "--threads" ? threads : tileFeatures) = n;
        } else if (arg == "--plugin") {
            if (!value(pluginPath)) return false;
        } else if (arg == "--data") {
            if (!value(dataPath)) return false;
        } else if (arg == "--layer") {
            if (!value(layerName)) return false;
        } else if (arg == "--out") {
            if (!value(outDir)) return false;
        } else if (arg == "--name") {
            if (!value(name)) return false;
        } else if (arg == "--id") {
            if (!value(idField)) return false;
            idFieldGiven = true;
        } else if (arg == "--lenient") {
            read.lenient = true;
        } else if (arg == "--x-field") {
            if (!value(read.xField)) return false;
        } else if (arg == "--y-field") {
            if (!value(read.yField)) return false;
        } else if (arg == "--height-scale") {
            if (!value(v)) return false;
            if (!ParseDouble(v, heightScale) || heightScale < 0.0) {
                error = "--height-scale needs a number of at least 0";
                return false;
            }
            heightGiven = true;
        } else if (arg == "--theme") {
            if (!value(run.request.themeFile) || !setKind(KrTheme3D::Theme3DNone, arg)) return false;
        } else if (arg == "--unique") {
            if (!value(run.request.field) || !setKind(KrTheme3D::Theme3DUnique, arg)) return false;
        } else if (arg == "--range") {
            if (!value(run.request.field) || !setKind(KrTheme3D::Theme3DRange, arg)) return false;
        } else if (arg == "--label") {
            if (!value(run.request.field) || !setKind(KrTheme3D::Theme3DLabel, arg)) return false;
        } else if (arg == "--chart") {
            if (!value(v) || !setKind(KrTheme3D::Theme3DGraph, arg)) return false;
            if (v == "bar") run.request.chartType = 4;
            else if (v == "stacked") run.request.chartType = 12;
            else if (v == "pie") run.request.chartType = 6;
            else {
                error = "--chart takes bar, stacked or pie";
                return false;
            }
        } else if (arg == "--custom") {
            if (!value(v)) return false;
            if (run.request.kind != KrTheme3D::Theme3DCustom && !setKind(KrTheme3D::Theme3DCustom, arg)) return false;
            for (const std::string& pair : Split(v, ',')) {
                const size_t eq = pair.find('=');
                if (eq == std::string::npos || eq == 0 || eq + 1 == pair.size()) {
                    error = "--custom takes PROPERTY=FIELD pairs, not '" + pair + "'";
                    return false;
                }
                run.request.customProperties.emplace_back(pair.substr(0, eq), pair.substr(eq + 1));
            }
        } else if (arg == "--method") {
            KrClassMethod method = KrClassMethod::Quantile;
            if (!value(v) || !KrClassifier::MethodFromName(v, method)) {
                error = "--method takes one of " + MethodNames() + " (or its code 0-10), not '" + v + "'";
                return false;
            }
            run.request.method = static_cast<int>(method);
        } else if (arg == "--classes") {
            if (!value(v) || !ParseInt(v, run.request.classes)) {
                error = "--classes needs a whole number";
                return false;
            }
        } else if (arg == "--interval") {
            if (!value(v) || !ParseDouble(v, run.request.interval)) {
                error = "--interval needs a number";
                return false;
            }
        } else if (arg == "--series-scale") {
            if (!value(v)) return false;
            if (v == "independent") run.chartScale.series = DemoChartScale::Series::Independent;
            else if (v == "shared") run.chartScale.series = DemoChartScale::Series::Shared;
            else {
                error = "--series-scale takes independent or shared, not '" + v + "'";
                return false;
            }
        } else if (arg == "--bar-width") {
            if (!value(v) || !ParseDouble(v, run.chartScale.barWidth) || !(run.chartScale.barWidth > 0.0)) {
                error = "--bar-width needs a number of metres above 0";
                return false;
            }
        } else if (arg == "--size-range") {
            if (!value(v) || !ParseRange(v, run.chartScale.sizeMin, run.chartScale.sizeMax)) {
                error = "--size-range needs MIN,MAX in metres with 0 <= MIN <= MAX and MAX above 0";
                return false;
            }
        } else if (arg == "--max-classes") {
            if (!value(v) || !ParseInt(v, run.request.maxClasses) || run.request.maxClasses < 1) {
                error = "--max-classes needs a whole number of at least 1";
                return false;
            }
        } else if (arg == "--format") {
            if (!value(run.request.format)) return false;
        } else if (arg == "--fields") {
            if (!value(v)) return false;
            run.request.chartFields = Split(v, ',');
        } else {
            error = "unknown option '" + arg + "'";
            return false;
        }
    }
    if (read.xField.empty() != read.yField.empty()) {
        error = "--x-field and --y-field go together";
        return false;
    }
    // An option that would change nothing is refused rather than silently ignored
    for (const Scoped& scoped : ScopedOptions()) {
        if (!given.count(scoped.option)) continue;
        // The tour draws a chart and a custom theme: a height scale is meaningful there
        if (!themeGiven && std::string(scoped.option) == "--height-scale") continue;
        if (!themeGiven || !scoped.kinds.count(run.request.kind)) {
            error = std::string(scoped.option) + " has no effect " +
                    (themeGiven ? std::string("with ") + KindOption(run.request.kind) : std::string("without a theme option")) +
                    "; it applies to " + scoped.appliesTo;
            return false;
        }
    }
    const auto method = static_cast<KrClassMethod>(run.request.method);
    if (given.count("--interval") && method != KrClassMethod::FixedInterval) {
        error = std::string("--interval has no effect with --method ") + KrClassifier::MethodName(method) +
                "; it sets the width of --method " + KrClassifier::MethodName(KrClassMethod::FixedInterval);
        return false;
    }
    // These two methods make as many classes as the data asks for
    if (given.count("--classes") && (method == KrClassMethod::FixedInterval || method == KrClassMethod::Stdev)) {
        error = std::string("--classes has no effect with --method ") + KrClassifier::MethodName(method) +
                ", which sets the number of classes itself";
        return false;
    }
    if (given.count("--height-scale") && given.count("--size-range")) {
        error = "--height-scale and --size-range both set chart heights; give one of them";
        return false;
    }
    if (given.count("--height-scale") && run.chartScale.series == DemoChartScale::Series::Independent) {
        error = "--height-scale sets one scale for every series; it cannot go with --series-scale independent";
        return false;
    }
    runs.clear();
    if (!themeGiven) {
        if (!dataPath.empty() && !tour) {
            error = "with --data, name a theme (or --tour) (--theme, --unique, --range, --label, --chart or --custom)";
            return false;
        }
        runs = Tour();
        if (heightGiven) {
            // The same meaning in every run: metres per person and per chart unit alike
            runs[3].chartScale.series = DemoChartScale::Series::Shared;
            runs[3].chartScale.metresPerUnit = heightScale;
            runs[4].heightScale = heightScale;
        }
        return true;
    }
    run.heightScale = heightScale;
    if (heightGiven) run.chartScale.metresPerUnit = heightScale;
    run.chartScale.fromDocument = run.request.kind == KrTheme3D::Theme3DNone;
    run.name = name;
    runs.push_back(run);
    return true;
}

} // namespace KRN
