#include "DemoLayerReader.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>

#include <geos_c.h>

#include <cpl_conv.h>
#include <cpl_error.h>
#include <gdal.h>
#include <ogr_api.h>
#include <ogr_core.h>
#include <ogr_srs_api.h>

#include "BsxTime.h"
#include "BsxVariant.h"
#include "KrGeometry.h"

namespace KRN {

namespace {

DemoFieldKind KindOf(OGRFieldType type)
{
    switch (type) {
    case OFTInteger: return DemoFieldKind::Integer;
    case OFTInteger64: return DemoFieldKind::Integer64;
    case OFTReal: return DemoFieldKind::Real;
    case OFTString: return DemoFieldKind::Text;
    case OFTDate: return DemoFieldKind::Date;
    case OFTTime: return DemoFieldKind::Time;
    case OFTDateTime: return DemoFieldKind::DateTime;
    default: return DemoFieldKind::Other;
    }
}

BSX::BsxVariant ReadValue(OGRFeatureH feature, int index, DemoFieldKind kind)
{
    if (!OGR_F_IsFieldSetAndNotNull(feature, index)) return BSX::BsxVariant();
    switch (kind) {
    case DemoFieldKind::Integer: return BSX::BsxVariant(OGR_F_GetFieldAsInteger(feature, index));
    case DemoFieldKind::Integer64: return BSX::BsxVariant(static_cast<long long>(OGR_F_GetFieldAsInteger64(feature, index)));
    case DemoFieldKind::Real: return BSX::BsxVariant(OGR_F_GetFieldAsDouble(feature, index));
    case DemoFieldKind::Date:
    case DemoFieldKind::Time:
    case DemoFieldKind::DateTime: {
        int y = 0, mo = 0, d = 0, h = 0, mi = 0, tz = 0;
        float s = 0.0f;
        if (!OGR_F_GetFieldAsDateTimeEx(feature, index, &y, &mo, &d, &h, &mi, &s, &tz)) return BSX::BsxVariant();
        const int sec = static_cast<int>(s);
        if (kind == DemoFieldKind::Time) {
            // A time of day alone sits on the date-time epoch, as the host keeps it
            return BSX::BsxVariant(BSX::BsxTime(1899, 12, 30, h, mi, sec), BSX::BsxVariant::VT_TIME);
        }
        if (kind == DemoFieldKind::Date) return BSX::BsxVariant(BSX::BsxTime(y, mo, d), BSX::BsxVariant::VT_DATE);
        return BSX::BsxVariant(BSX::BsxTime(y, mo, d, h, mi, sec), BSX::BsxVariant::VT_DATETIME);
    }
    case DemoFieldKind::Text:
    case DemoFieldKind::Other:
    default:
        return BSX::BsxVariant(BSX::BsxUnicodeString::FromUtf8(OGR_F_GetFieldAsString(feature, index)));
    }
}

std::vector<BSX::BsxPoint3D> ReadPoints(OGRGeometryH g)
{
    std::vector<BSX::BsxPoint3D> points;
    const int n = OGR_G_GetPointCount(g);
    points.reserve(static_cast<size_t>(n > 0 ? n : 0));
    for (int i = 0; i < n; ++i) {
        BSX::BsxPoint3D p(OGR_G_GetX(g, i), OGR_G_GetY(g, i), OGR_G_GetZ(g, i));
        if (std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z)) points.push_back(p);
    }
    return points;
}

// Collects the parts of a geometry and answers its host code (by the kind of its parts)
int CollectParts(OGRGeometryH g, std::vector<DemoPart>& parts)
{
    if (!g) return KrGeometry::GEO_UNKNOWN;
    const OGRwkbGeometryType flat = wkbFlatten(OGR_G_GetGeometryType(g));
    const bool is3D = OGR_G_CoordinateDimension(g) == 3;
    switch (flat) {
    case wkbPoint:
    case wkbLineString: {
        DemoPart part;
        part.rings.push_back(ReadPoints(g));
        if (part.rings.back().empty()) return KrGeometry::GEO_UNKNOWN;
        parts.push_back(std::move(part));
        if (flat == wkbPoint) return is3D ? KrGeometry::GEO_POINT3D : KrGeometry::GEO_POINT;
        return is3D ? KrGeometry::GEO_LINE3D : KrGeometry::GEO_LINE;
    }
    case wkbPolygon: {
        DemoPart part;
        for (int r = 0; r < OGR_G_GetGeometryCount(g); ++r) {
            part.rings.push_back(ReadPoints(OGR_G_GetGeometryRef(g, r)));
        }
        if (part.rings.empty() || part.rings.front().size() < 3) return KrGeometry::GEO_UNKNOWN;
        parts.push_back(std::move(part));
        return is3D ? KrGeometry::GEO_REGION3D : KrGeometry::GEO_REGION;
    }
    case wkbMultiPoint:
    case wkbMultiLineString:
    case wkbMultiPolygon:
    case wkbGeometryCollection: {
        int code = KrGeometry::GEO_UNKNOWN;
        for (int i = 0; i < OGR_G_GetGeometryCount(g); ++i) {
            const int partCode = CollectParts(OGR_G_GetGeometryRef(g, i), parts);
            if (code == KrGeometry::GEO_UNKNOWN) code = partCode;
        }
        return code;
    }
    default: {
        // Curves and the rest: drawn through their linear approximation
        OGRGeometryH linear = OGR_G_GetLinearGeometry(g, 0, nullptr);
        if (!linear) return KrGeometry::GEO_UNKNOWN;
        int code = KrGeometry::GEO_UNKNOWN;
        if (wkbFlatten(OGR_G_GetGeometryType(linear)) != flat) code = CollectParts(linear, parts);
        OGR_G_DestroyGeometry(linear);
        return code;
    }
    }
}

// A GEOS context per reading thread, for the anchors of polygons
class ThreadGeos {
public:
    ThreadGeos() : m_handle(GEOS_init_r())
    {
        GEOSContext_setErrorMessageHandler_r(m_handle, [](const char*, void*) {}, nullptr);
        GEOSContext_setNoticeMessageHandler_r(m_handle, [](const char*, void*) {}, nullptr);
    }
    ~ThreadGeos() { GEOS_finish_r(m_handle); }
    ThreadGeos(const ThreadGeos&) = delete;
    ThreadGeos& operator=(const ThreadGeos&) = delete;
    GEOSContextHandle_t Get() const { return m_handle; }

private:
    GEOSContextHandle_t m_handle;
};

// The point on the surface of one polygon, as OGR finds it (GEOS's interior point), from the
// rings already read instead of a copy of the polygon that OGR converts to GEOS and back: on a
// layer of small buildings the conversions cost more than the search
bool PolygonAnchor(const DemoPart& part, BSX::BsxPoint3D& anchor)
{
    thread_local ThreadGeos context;
    GEOSContextHandle_t h = context.Get();
    std::vector<GEOSGeometry*> rings;
    std::vector<double> xy;
    for (const std::vector<BSX::BsxPoint3D>& ring : part.rings) {
        xy.clear();
        for (const BSX::BsxPoint3D& p : ring) xy.push_back(p.x), xy.push_back(p.y);
        GEOSCoordSequence* seq = ring.size() >= 4 ? GEOSCoordSeq_copyFromBuffer_r(h, xy.data(), static_cast<unsigned>(ring.size()), 0, 0) : nullptr;
        GEOSGeometry* r = seq ? GEOSGeom_createLinearRing_r(h, seq) : nullptr;
        if (!r) break;
        rings.push_back(r);
    }
    if (rings.size() != part.rings.size()) {
        for (GEOSGeometry* r : rings) GEOSGeom_destroy_r(h, r);
        return false;
    }
    GEOSGeometry* polygon = GEOSGeom_createPolygon_r(h, rings.front(), rings.data() + 1, static_cast<unsigned>(rings.size() - 1));
    if (!polygon) return false;
    GEOSGeometry* inside = GEOSPointOnSurface_r(h, polygon);
    bool ok = inside && !GEOSisEmpty_r(h, inside) && GEOSGeomGetX_r(h, inside, &anchor.x) && GEOSGeomGetY_r(h, inside, &anchor.y);
    anchor.z = 0.0;
    ok = ok && std::isfinite(anchor.x) && std::isfinite(anchor.y);
    if (inside) GEOSGeom_destroy_r(h, inside);
    GEOSGeom_destroy_r(h, polygon);
    return ok;
}

bool Anchor(OGRGeometryH g, const std::vector<DemoPart>& parts, BSX::BsxPoint3D& anchor)
{
    if (!g || OGR_G_IsEmpty(g)) return false;
    // A plain polygon whose every vertex was read (none was dropped as not finite)
    if (wkbFlatten(OGR_G_GetGeometryType(g)) == wkbPolygon && parts.size() == 1 &&
        static_cast<int>(parts.front().rings.size()) == OGR_G_GetGeometryCount(g)) {
        bool whole = true;
        for (int r = 0; r < OGR_G_GetGeometryCount(g) && whole; ++r)
            whole = static_cast<int>(parts.front().rings[static_cast<size_t>(r)].size()) == OGR_G_GetPointCount(OGR_G_GetGeometryRef(g, r));
        if (whole && PolygonAnchor(parts.front(), anchor)) return true;
    }
    OGRGeometryH inside = OGR_G_PointOnSurface(g);
    if (!inside) {
        // Lines and points have no surface: their centroid stands in
        inside = OGR_G_CreateGeometry(wkbPoint);
        if (OGR_G_Centroid(g, inside) != OGRERR_NONE) {
            OGR_G_DestroyGeometry(inside);
            inside = nullptr;
        }
    }
    bool ok = false;
    if (inside && !OGR_G_IsEmpty(inside) && wkbFlatten(OGR_G_GetGeometryType(inside)) == wkbPoint) {
        anchor = BSX::BsxPoint3D(OGR_G_GetX(inside, 0), OGR_G_GetY(inside, 0), 0.0);
        ok = std::isfinite(anchor.x) && std::isfinite(anchor.y);
    }
    if (inside) OGR_G_DestroyGeometry(inside);
    return ok;
}

// GDAL's errors while a layer is read: how many, and the first one's text
// The reason GDAL gave for the last failure, or the system's when GDAL gave none
std::string OpenReason(const std::string& path)
{
    std::string reason = CPLGetLastErrorMsg();
    struct stat st {};
    if (reason.empty() && stat(path.c_str(), &st) != 0) reason = std::strerror(errno);
    if (reason.empty()) reason = "not in a vector format that GDAL recognises";
    return reason;
}

} // namespace

GDALDatasetH DemoLayerReader::OpenDataSet(const std::string& path, std::string& error)
{
    CPLPushErrorHandler(CPLQuietErrorHandler);
    CPLErrorReset();
    GDALDatasetH ds = GDALOpenEx(path.c_str(), GDAL_OF_VECTOR | GDAL_OF_READONLY, nullptr, nullptr, nullptr);
    if (ds && std::strcmp(GDALGetDriverShortName(GDALGetDatasetDriver(ds)), "CSV") == 0) {
        // Plain tables otherwise come as text only: let GDAL tell numbers from text, and empty
        // cells from zeros
        const char* const options[] = {"AUTODETECT_TYPE=YES", "EMPTY_STRING_AS_NULL=YES", nullptr};
        GDALClose(ds);
        ds = GDALOpenEx(path.c_str(), GDAL_OF_VECTOR | GDAL_OF_READONLY, nullptr, options, nullptr);
    }
    if (!ds) error = "cannot open the vector data set '" + path + "': " + OpenReason(path);
    CPLPopErrorHandler();
    return ds;
}

bool DemoLayerReader::PointFromFields(OGRFeatureH feature, int xIndex, int yIndex, DemoFeature& df)
{
    if (!OGR_F_IsFieldSetAndNotNull(feature, xIndex) || !OGR_F_IsFieldSetAndNotNull(feature, yIndex)) return false;
    // Copies: GDAL reuses one buffer for the text of numeric fields
    const std::string xText = OGR_F_GetFieldAsString(feature, xIndex);
    const std::string yText = OGR_F_GetFieldAsString(feature, yIndex);
    char* xEnd = nullptr;
    char* yEnd = nullptr;
    const double x = std::strtod(xText.c_str(), &xEnd), y = std::strtod(yText.c_str(), &yEnd);
    if (xText.empty() || *xEnd != 0 || yText.empty() || *yEnd != 0 || !std::isfinite(x) || !std::isfinite(y))
        return false;
    DemoPart part;
    part.rings.push_back({BSX::BsxPoint3D(x, y, 0.0)});
    df.parts.push_back(std::move(part));
    df.geometryType = KrGeometry::GEO_POINT;
    df.anchor = BSX::BsxPoint3D(x, y, 0.0);
    df.hasAnchor = true;
    return true;
}

void CPL_STDCALL DemoLayerReader::Errors::Handler(CPLErr level, CPLErrorNum, const char* message)
{
    auto* self = static_cast<Errors*>(CPLGetErrorHandlerUserData());
    if (level == CE_Failure || level == CE_Fatal) {
        if (self->count++ == 0) self->first = message ? message : "";
    }
}

DemoFieldKind DemoLayerReader::KindOfField(OGRFieldType type) { return KindOf(type); }

void DemoLayerReader::MakeWgs84Transforms(OGRLayerH layer, OGRCoordinateTransformationH* toWgs84,
                                          OGRCoordinateTransformationH* fromWgs84)
{
    *toWgs84 = nullptr;
    if (fromWgs84) *fromWgs84 = nullptr;
    OGRSpatialReferenceH srcSrs = OGR_L_GetSpatialRef(layer);
    OGRSpatialReferenceH wgs84 = OSRNewSpatialReference(nullptr);
    OSRSetWellKnownGeogCS(wgs84, "WGS84");
    OSRSetAxisMappingStrategy(wgs84, OAMS_TRADITIONAL_GIS_ORDER);
    if (srcSrs && !OSRIsSame(srcSrs, wgs84)) {
        OGRSpatialReferenceH clone = OSRClone(srcSrs);
        OSRSetAxisMappingStrategy(clone, OAMS_TRADITIONAL_GIS_ORDER);
        *toWgs84 = OCTNewCoordinateTransformation(clone, wgs84);
        if (fromWgs84) *fromWgs84 = OCTNewCoordinateTransformation(wgs84, clone);
        OSRDestroySpatialReference(clone);
    }
    OSRDestroySpatialReference(wgs84);
}

void DemoLayerReader::ReadRecord(OGRFeatureH of, const std::vector<DemoField>& fields,
                                 const std::vector<BSX::BsxUnicodeString>& names,
                                 OGRCoordinateTransformationH toWgs84, DemoFeature& df)
{
    df.feature = std::make_unique<KrFeature>();
    df.parts.clear();
    for (size_t i = 0; i < fields.size(); ++i) df.feature->SetField(names[i], ReadValue(of, static_cast<int>(i), fields[i].kind));
    OGRGeometryH g = OGR_F_GetGeometryRef(of);
    if (g && toWgs84) OGR_G_Transform(g, toWgs84);
    df.geometryType = CollectParts(g, df.parts);
    df.hasAnchor = Anchor(g, df.parts, df.anchor);
    df.feature->SetGeometry(new KrGeometry(df.geometryType));
}

bool DemoLayerReader::Read(const std::string& path, const std::string& layerName, const DemoReadOptions& options,
                           DemoLayer& layer, std::string& error)
{
    GDALAllRegister();
    GDALDatasetH ds = OpenDataSet(path, error);
    if (!ds) return false;
    OGRLayerH src = layerName.empty() ? GDALDatasetGetLayer(ds, 0) : GDALDatasetGetLayerByName(ds, layerName.c_str());
    if (!src) {
        std::string layers;
        for (int i = 0; i < GDALDatasetGetLayerCount(ds); ++i)
            layers += (layers.empty() ? "" : ", ") + std::string(OGR_L_GetName(GDALDatasetGetLayer(ds, i)));
        error = layerName.empty() ? "the data set '" + path + "' holds no vector layer"
                                  : "the data set '" + path + "' has no layer '" + layerName + "' (layers: " + layers + ")";
        GDALClose(ds);
        return false;
    }

    // Everything is drawn on the WGS84 globe: reproject when the layer says where it is
    OGRCoordinateTransformationH toWgs84 = nullptr;
    MakeWgs84Transforms(src, &toWgs84, nullptr);

    layer.name = OGR_L_GetName(src);
    layer.fields.clear();
    layer.features.clear();
    layer.skipped = 0;
    OGRFeatureDefnH defn = OGR_L_GetLayerDefn(src);
    const int fieldCount = OGR_FD_GetFieldCount(defn);
    for (int i = 0; i < fieldCount; ++i) {
        OGRFieldDefnH fd = OGR_FD_GetFieldDefn(defn, i);
        layer.fields.push_back(DemoField{OGR_Fld_GetNameRef(fd), KindOf(OGR_Fld_GetType(fd))});
    }
    std::vector<BSX::BsxUnicodeString> wideNames;
    for (const DemoField& f : layer.fields) wideNames.push_back(BSX::BsxUnicodeString::FromUtf8(f.name));

    const bool fromFields = !options.xField.empty();
    const int xIndex = fromFields ? layer.FindField(options.xField) : -1;
    const int yIndex = fromFields ? layer.FindField(options.yField) : -1;
    auto fail = [&](const std::string& message) {
        error = message;
        if (toWgs84) OCTDestroyCoordinateTransformation(toWgs84);
        GDALClose(ds);
        return false;
    };
    if (fromFields && (xIndex < 0 || yIndex < 0)) {
        return fail("the layer '" + layer.name + "' has no field '" + (xIndex < 0 ? options.xField : options.yField) +
                    "' (fields: " + layer.FieldList() + ")");
    }
    if (!fromFields && OGR_FD_GetGeomFieldCount(defn) == 0) {
        return fail("the layer '" + layer.name + "' of '" + path +
                    "' has no geometry; name its longitude and latitude fields with --x-field and --y-field (fields: " +
                    layer.FieldList() + ")");
    }

    DemoLayerReader::Errors errors;
    size_t badPositions = 0, drawable = 0;
    std::string firstBadPosition;
    CPLPushErrorHandlerEx(DemoLayerReader::Errors::Handler, &errors);
    OGR_L_ResetReading(src);
    for (;;) {
        const size_t errorsBefore = errors.count;
        OGRFeatureH of = OGR_L_GetNextFeature(src);
        if (!of) break;
        DemoFeature df;
        df.feature = std::make_unique<KrFeature>();
        for (int i = 0; i < fieldCount; ++i) {
            df.feature->SetField(wideNames[static_cast<size_t>(i)], ReadValue(of, i, layer.fields[static_cast<size_t>(i)].kind));
        }
        bool good = errors.count == errorsBefore;
        if (fromFields) {
            if (!PointFromFields(of, xIndex, yIndex, df)) {
                if (badPositions++ == 0) firstBadPosition = std::to_string(OGR_F_GetFID(of));
                good = false;
            }
        } else {
            OGRGeometryH g = OGR_F_GetGeometryRef(of);
            if (g && toWgs84) OGR_G_Transform(g, toWgs84);
            df.geometryType = CollectParts(g, df.parts);
            df.hasAnchor = Anchor(g, df.parts, df.anchor);
        }
        OGR_F_Destroy(of);
        good = good && errors.count == errorsBefore;
        if (!good && options.lenient) {
            ++layer.skipped;
            continue;
        }
        if (df.geometryType != KrGeometry::GEO_UNKNOWN) ++drawable;
        df.feature->SetGeometry(new KrGeometry(df.geometryType));
        layer.features.push_back(std::move(df));
    }
    CPLPopErrorHandler();
    // A reader that gives up early leaves records unread: count them when the layer knows its size
    const GIntBig expected = OGR_L_GetFeatureCount(src, FALSE);
    const size_t seen = layer.features.size() + layer.skipped;
    if (errors.count > 0 && expected > 0 && static_cast<size_t>(expected) > seen)
        layer.skipped += static_cast<size_t>(expected) - seen;

    const std::string where = "the layer '" + layer.name + "' of '" + path + "'";
    if (errors.count > 0 && !options.lenient) {
        return fail("GDAL reported " + std::to_string(errors.count) + " error(s) reading " + where + ", the first: " +
                    errors.first + " (--lenient skips the features it cannot read)");
    }
    if (badPositions > 0 && !options.lenient) {
        return fail(std::to_string(badPositions) + " feature(s) of " + where + " have no number in '" + options.xField +
                    "' or '" + options.yField + "', the first with id " + firstBadPosition +
                    " (--lenient skips them)");
    }
    if (layer.features.empty()) {
        return fail(where + " holds no features" +
                    (layer.skipped > 0 ? " that could be read (" + std::to_string(layer.skipped) + " skipped)" : ""));
    }
    if (drawable == 0) {
        return fail("none of the " + std::to_string(layer.features.size()) + " features of " + where +
                    " has a geometry that can be drawn");
    }
    if (toWgs84) OCTDestroyCoordinateTransformation(toWgs84);
    GDALClose(ds);
    layer.UpdateBounds();
    return true;
}

} // namespace KRN
