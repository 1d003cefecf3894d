#pragma once
// Builds a theme of any kind for a layer: from a saved theme document, or from what the user
// asked for on the command line.
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "DemoLayer.h"
#include "KrClassifier.h"
#include "KrClassStatistics.h"
#include "KrTheme3D.h"

namespace KRN {

// One distinct value of a field, as the themes compare it
struct DemoValueCount {
    std::string text;
    // The value as a number (the first one seen with this text), when the field is numeric
    double number = 0.0;
    std::uint64_t count = 0;
};

// The distinct values of a field over a whole layer
struct DemoValueCounts {
    // By text
    std::vector<DemoValueCount> values;
    // False when the field had more distinct values than were counted: then rare values are
    // missing and every count may fall short by up to shortfall
    bool complete = true;
    std::uint64_t shortfall = 0;
};

// What the user asked for
struct DemoThemeRequest {
    // Theme kind code (1 unique, 2 range, 3 label, 4 graph, 5 custom); 0 reads themeFile
    int kind = 0;
    std::string themeFile;
    // The field of a unique, range or label theme
    std::string field;
    // Range classification: method (the theme's codes 0-5 or a KrClassMethod beyond them), class
    // count, fixed width (method 5)
    int method = 4;
    int classes = 5;
    double interval = 0.0;
    // Number format of a label theme
    std::string format;
    // Chart kind code (4 bar, 6 pie, 12 stacked bar) and its numeric fields
    int chartType = 4;
    std::vector<std::string> chartFields;
    // Custom theme: property name and field (or number) pairs
    std::vector<std::pair<std::string, std::string>> customProperties;
    // Most classes a unique theme gets; the rest of the values fall to "Other values"
    int maxClasses = 1024;
    // Range classification from statistics of the whole layer gathered in parts (the tiled
    // output never holds the layer's values): when set, the extremes, mean and spread and the
    // quantile breaks come from here instead of the layer's values
    std::shared_ptr<const KrClassStatistics> statistics;
    std::vector<double> quantileBreaks;
    // Unique classification from the distinct values of the whole layer counted in parts: when
    // set, the classes come from here instead of the layer's values
    std::shared_ptr<const DemoValueCounts> values;
};

// What a build decided that the user should hear about
struct DemoBuildReport {
    // Unique themes: distinct values of the field and the classes made of them
    int distinctValues = 0;
    int classes = 0;
    // False when there were more distinct values than could be counted (distinctValues is then
    // the number counted)
    bool allValuesCounted = true;
    // Range themes: the classification with its breaks, classes and fit; the features without a
    // number (no data) are counted in it
    bool classified = false;
    KrClassification classification;
};

// Creates an empty theme of a kind code (the factory's NewTheme3D), null for unknown codes
using DemoThemeCreator = std::function<KrTheme3D*(int)>;

class DemoThemeBuilder {
public:
    // Builds the theme. False with a message naming the problem (unknown field, field that is
    // not numeric, unreadable document, ...); theme stays null then.
    static bool Build(const DemoThemeRequest& request, const DemoLayer& layer, const DemoThemeCreator& create,
                      std::unique_ptr<KrTheme3D>& theme, std::string& error, DemoBuildReport* report = nullptr);

    // The ascending finite numbers of a field over the layer
    static std::vector<double> NumericValues(const DemoLayer& layer, const std::string& field);
    // Name of a kind code ("unique", "range", "label", "graph", "custom"; "theme" otherwise)
    static const char* KindName(int kind);
    // The twenty property names that a custom theme takes
    static const std::vector<std::string>& CustomPropertyNames();
    // Range captions: each break with as few significant digits (at least two) as keep it apart
    // from its neighbours, written without exponent for everyday magnitudes
    static std::vector<std::string> BreakTexts(const std::vector<double>& breaks);

    // The format version written and read by the demo
    static constexpr int kXmlVersion = 20120328;
};

} // namespace KRN
