#include "DemoLayerReader.h"

#include <cmath>

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

bool Anchor(OGRGeometryH g, BSX::BsxPoint3D& anchor)
{
    if (!g || OGR_G_IsEmpty(g)) return false;
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

} // namespace

bool DemoLayerReader::Read(const std::string& path, const std::string& layerName, DemoLayer& layer, std::string& error)
{
    GDALAllRegister();
    CPLPushErrorHandler(CPLQuietErrorHandler);
    GDALDatasetH ds = GDALOpenEx(path.c_str(), GDAL_OF_VECTOR | GDAL_OF_READONLY, nullptr, nullptr, nullptr);
    CPLPopErrorHandler();
    if (!ds) {
        error = "cannot open the vector data set '" + path + "'";
        return false;
    }
    OGRLayerH src = layerName.empty() ? GDALDatasetGetLayer(ds, 0) : GDALDatasetGetLayerByName(ds, layerName.c_str());
    if (!src) {
        error = layerName.empty() ? "the data set '" + path + "' holds no vector layer"
                                  : "the data set '" + path + "' has no layer '" + layerName + "'";
        GDALClose(ds);
        return false;
    }

    // Everything is drawn on the WGS84 globe: reproject when the layer says where it is
    OGRCoordinateTransformationH toWgs84 = nullptr;
    OGRSpatialReferenceH srcSrs = OGR_L_GetSpatialRef(src);
    OGRSpatialReferenceH wgs84 = OSRNewSpatialReference(nullptr);
    OSRSetWellKnownGeogCS(wgs84, "WGS84");
    OSRSetAxisMappingStrategy(wgs84, OAMS_TRADITIONAL_GIS_ORDER);
    if (srcSrs && !OSRIsSame(srcSrs, wgs84)) {
        OGRSpatialReferenceH clone = OSRClone(srcSrs);
        OSRSetAxisMappingStrategy(clone, OAMS_TRADITIONAL_GIS_ORDER);
        toWgs84 = OCTNewCoordinateTransformation(clone, wgs84);
        OSRDestroySpatialReference(clone);
    }

    layer.name = OGR_L_GetName(src);
    layer.fields.clear();
    layer.features.clear();
    OGRFeatureDefnH defn = OGR_L_GetLayerDefn(src);
    const int fieldCount = OGR_FD_GetFieldCount(defn);
    for (int i = 0; i < fieldCount; ++i) {
        OGRFieldDefnH fd = OGR_FD_GetFieldDefn(defn, i);
        layer.fields.push_back(DemoField{OGR_Fld_GetNameRef(fd), KindOf(OGR_Fld_GetType(fd))});
    }
    std::vector<BSX::BsxUnicodeString> wideNames;
    for (const DemoField& f : layer.fields) wideNames.push_back(BSX::BsxUnicodeString::FromUtf8(f.name));

    OGR_L_ResetReading(src);
    while (OGRFeatureH of = OGR_L_GetNextFeature(src)) {
        DemoFeature df;
        df.feature = std::make_unique<KrFeature>();
        for (int i = 0; i < fieldCount; ++i) {
            df.feature->SetField(wideNames[static_cast<size_t>(i)], ReadValue(of, i, layer.fields[static_cast<size_t>(i)].kind));
        }
        OGRGeometryH g = OGR_F_GetGeometryRef(of);
        if (g && toWgs84) OGR_G_Transform(g, toWgs84);
        df.geometryType = CollectParts(g, df.parts);
        df.hasAnchor = Anchor(g, df.anchor);
        df.feature->SetGeometry(new KrGeometry(df.geometryType));
        layer.features.push_back(std::move(df));
        OGR_F_Destroy(of);
    }
    if (toWgs84) OCTDestroyCoordinateTransformation(toWgs84);
    OSRDestroySpatialReference(wgs84);
    GDALClose(ds);
    layer.UpdateBounds();
    return true;
}

} // namespace KRN
