#pragma once
// Reads a vector layer of any format GDAL/OGR knows into a DemoLayer.
#include <string>
#include <vector>

#include <cpl_error.h>
#include <gdal.h>
#include <ogr_api.h>
#include <ogr_srs_api.h>

#include "DemoLayer.h"

namespace KRN {

struct DemoReadOptions {
    // Skip features that GDAL reports errors for (counted in DemoLayer::skipped) instead of failing
    bool lenient = false;
    // Numeric fields holding longitude and latitude, for layers without a geometry
    std::string xField, yField;
};

class DemoLayerReader {
public:
    // The failures GDAL reports while installed (CPLPushErrorHandlerEx(Handler, &errors)), with
    // the first one's message
    struct Errors {
        size_t count = 0;
        std::string first;
        static void CPL_STDCALL Handler(CPLErr level, CPLErrorNum number, const char* message);
    };

    // Opens a vector data set as Read does (a plain table with its numbers told from its texts);
    // null with GDAL's reason otherwise
    static GDALDatasetH OpenDataSet(const std::string& path, std::string& error);
    // A point feature at the numbers of two coordinate fields (degrees); false when either is
    // missing or not a number
    static bool PointFromFields(OGRFeatureH record, int xIndex, int yIndex, DemoFeature& feature);

    // The demo's kind of an OGR field type
    static DemoFieldKind KindOfField(OGRFieldType type);
    // The transformations from the layer's coordinate system to WGS84 (longitude first) and
    // back; both stay null when the layer names none or already is WGS84. fromWgs84 may be null
    // when only the forward direction is wanted. The caller destroys what it gets.
    static void MakeWgs84Transforms(OGRLayerH layer, OGRCoordinateTransformationH* toWgs84,
                                    OGRCoordinateTransformationH* fromWgs84);
    // One OGR record as the demo holds it: the attributes of the given fields (names are the
    // fields' names as host strings), the geometry in WGS84 (transformed when toWgs84 is set),
    // its host code and its anchor
    static void ReadRecord(OGRFeatureH record, const std::vector<DemoField>& fields,
                           const std::vector<BSX::BsxUnicodeString>& names, OGRCoordinateTransformationH toWgs84,
                           DemoFeature& feature);

    // Reads the layer of that name (the first layer when empty) of the data set at path.
    // False with a message in error, carrying GDAL's reason, when the file cannot be opened,
    // has no such layer, holds no features, has no geometry to draw, or GDAL reports an error
    // while reading (unless lenient).
    static bool Read(const std::string& path, const std::string& layerName, const DemoReadOptions& options,
                     DemoLayer& layer, std::string& error);
    static bool Read(const std::string& path, const std::string& layerName, DemoLayer& layer, std::string& error)
    {
        return Read(path, layerName, DemoReadOptions(), layer, error);
    }
};

} // namespace KRN
