#pragma once
// The legend and the feature records that go with a drawn theme, written alike for one scene and
// for a tileset: the legend's entries with their colours and counts, and per feature its class,
// label and attributes, which a viewer shows when the feature is picked.
#include <string>
#include <vector>

#include "BsxUnicodeString.h"
#include "BsxVariant.h"
#include "DemoDrawer.h"
#include "DemoJson.h"
#include "DemoOptions.h"
#include "KrColorValue3D.h"

namespace KRN {

class DemoLegend {
public:
    // The legend document of a drawn theme: features read and drawn, classes, classification and
    // every entry with its colour and count (the drawer's own counts, or counts by entry)
    static std::string Json(const DemoRun& run, const KrTheme3D& theme, const DemoDrawer& drawer, size_t features,
                            size_t drawn, const DemoBuildReport& report, const std::vector<size_t>* counts = nullptr);
    // A colour as its four numbers and its hex code
    static void Colour(DemoJson& j, const KrColorValue3D& c);
    // A field value: numbers stay numbers, dates and texts become strings
    static void Value(DemoJson& j, const BSX::BsxVariant& v);
    // One feature's record: its index in its file, its name (id) when the user chose a naming
    // field, the theme's value, class and label, and every attribute (names are the fields' as
    // host strings), and where it stands (lon, lat of its anchor) when asked
    static void Record(DemoJson& j, size_t index, const std::string* id, const DemoFeature& f, const DemoDrawnFeature& out,
                       const DemoDrawer& drawer, const BSX::BsxUnicodeString& expression,
                       const std::vector<DemoField>& fields, const std::vector<BSX::BsxUnicodeString>& names,
                       bool place = false);
};

} // namespace KRN
