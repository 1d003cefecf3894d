#pragma once
// A vector layer as the demo host holds it: one KrFeature per record for the themes, and beside
// it the real coordinates (longitude, latitude in degrees, height in metres) for the scene.
#include <memory>
#include <string>
#include <vector>

#include "BsxGeometry.h"
#include "BsxUnicodeString.h"
#include "KrFeature.h"

namespace KRN {

// Value kind of a layer field, as far as the demo distinguishes them
enum class DemoFieldKind { Integer, Integer64, Real, Text, Date, Time, DateTime, Other };

struct DemoField {
    std::string name;
    DemoFieldKind kind = DemoFieldKind::Other;
    bool IsNumeric() const
    {
        return kind == DemoFieldKind::Integer || kind == DemoFieldKind::Integer64 || kind == DemoFieldKind::Real;
    }
};

// One part of a geometry: a ring sequence for a polygon (outer ring first), one line, or points
struct DemoPart {
    std::vector<std::vector<BSX::BsxPoint3D>> rings;
};

struct DemoFeature {
    std::unique_ptr<KrFeature> feature;
    // Host geometry code of the feature (1, 3, 5, 101, 103, 105; 0 when it has none)
    int geometryType = 0;
    std::vector<DemoPart> parts;
    // Where labels and charts stand: a point inside the feature
    BSX::BsxPoint3D anchor;
    bool hasAnchor = false;
};

class DemoLayer {
public:
    std::string name;
    std::vector<DemoField> fields;
    std::vector<DemoFeature> features;
    // Records left out because GDAL could not read them (lenient reading only)
    size_t skipped = 0;
    // Extent in degrees: left/right are longitudes, top/bottom latitudes
    BSX::BsxRect2D bounds;

    // Index of a field by name (exact, then ignoring case), -1 when absent
    int FindField(const std::string& fieldName) const;
    // The field names, comma separated, for messages that list the valid choices
    std::string FieldList() const;
    // Recomputes bounds from the anchors and every coordinate
    void UpdateBounds();
};

} // namespace KRN
