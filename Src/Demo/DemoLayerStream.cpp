#include "DemoLayerStream.h"

#include <cmath>

#include <cpl_conv.h>
#include <cpl_error.h>
#include <gdal.h>
#include <ogr_api.h>
#include <ogr_core.h>
#include <ogr_srs_api.h>

#include "DemoLayerReader.h"

namespace KRN {

struct DemoLayerStream::Impl {
    GDALDatasetH ds = nullptr;
    OGRLayerH layer = nullptr;
    OGRCoordinateTransformationH toWgs84 = nullptr;
    OGRCoordinateTransformationH fromWgs84 = nullptr;
    std::vector<BSX::BsxUnicodeString> wideNames;

    ~Impl()
    {
        if (toWgs84) OCTDestroyCoordinateTransformation(toWgs84);
        if (fromWgs84) OCTDestroyCoordinateTransformation(fromWgs84);
        if (ds) GDALClose(ds);
    }
};

DemoLayerStream::DemoLayerStream() : m_impl(std::make_unique<Impl>()) {}

DemoLayerStream::~DemoLayerStream() = default;

bool DemoLayerStream::Open(const std::string& path, const std::string& layerName, std::string& error)
{
    m_impl = std::make_unique<Impl>();
    GDALAllRegister();
    CPLPushErrorHandler(CPLQuietErrorHandler);
    m_impl->ds = GDALOpenEx(path.c_str(), GDAL_OF_VECTOR | GDAL_OF_READONLY, nullptr, nullptr, nullptr);
    CPLPopErrorHandler();
    if (!m_impl->ds) {
        error = "cannot open the vector data set '" + path + "'";
        return false;
    }
    OGRLayerH src = layerName.empty() ? GDALDatasetGetLayer(m_impl->ds, 0)
                                      : GDALDatasetGetLayerByName(m_impl->ds, layerName.c_str());
    if (!src) {
        error = layerName.empty() ? "the data set '" + path + "' holds no vector layer"
                                  : "the data set '" + path + "' has no layer '" + layerName + "'";
        return false;
    }
    m_impl->layer = src;

    // Everything is drawn on the WGS84 globe: reproject when the layer says where it is
    DemoLayerReader::MakeWgs84Transforms(src, &m_impl->toWgs84, &m_impl->fromWgs84);

    m_name = OGR_L_GetName(src);
    m_fields.clear();
    OGRFeatureDefnH defn = OGR_L_GetLayerDefn(src);
    for (int i = 0; i < OGR_FD_GetFieldCount(defn); ++i) {
        OGRFieldDefnH fd = OGR_FD_GetFieldDefn(defn, i);
        m_fields.push_back(DemoField{OGR_Fld_GetNameRef(fd), DemoLayerReader::KindOfField(OGR_Fld_GetType(fd))});
        m_impl->wideNames.push_back(BSX::BsxUnicodeString::FromUtf8(m_fields.back().name));
    }
    Reset();
    return true;
}

long long DemoLayerStream::CountHint() const
{
    return m_impl->layer ? static_cast<long long>(OGR_L_GetFeatureCount(m_impl->layer, 0)) : 0;
}

bool DemoLayerStream::GetExtent(double& west, double& south, double& east, double& north) const
{
    OGREnvelope env;
    if (!m_impl->layer || OGR_L_GetExtent(m_impl->layer, &env, 1) != OGRERR_NONE) return false;
    west = env.MinX, south = env.MinY, east = env.MaxX, north = env.MaxY;
    if (m_impl->toWgs84 &&
        !OCTTransformBounds(m_impl->toWgs84, env.MinX, env.MinY, env.MaxX, env.MaxY, &west, &south, &east, &north, 21))
        return false;
    return std::isfinite(west) && std::isfinite(south) && std::isfinite(east) && std::isfinite(north) && west <= east &&
           south <= north;
}

void DemoLayerStream::Reset()
{
    if (!m_impl->layer) return;
    OGR_L_SetSpatialFilter(m_impl->layer, nullptr);
    OGR_L_SetAttributeFilter(m_impl->layer, nullptr);
    OGR_L_ResetReading(m_impl->layer);
}

void DemoLayerStream::ResetInside(double west, double south, double east, double north)
{
    if (!m_impl->layer) return;
    OGR_L_SetAttributeFilter(m_impl->layer, nullptr);
    double minX = west, minY = south, maxX = east, maxY = north;
    // The rectangle in the source's own system: the bounds of its densified outline, which hold
    // every point of it
    if (m_impl->fromWgs84 &&
        !OCTTransformBounds(m_impl->fromWgs84, west, south, east, north, &minX, &minY, &maxX, &maxY, 21)) {
        OGR_L_SetSpatialFilter(m_impl->layer, nullptr);
    } else {
        OGR_L_SetSpatialFilterRect(m_impl->layer, minX, minY, maxX, maxY);
    }
    OGR_L_ResetReading(m_impl->layer);
}

bool DemoLayerStream::ResetSpan(long long first, long long last)
{
    if (!m_impl->layer) return false;
    OGR_L_SetSpatialFilter(m_impl->layer, nullptr);
    const std::string column = OGR_L_GetFIDColumn(m_impl->layer);
    const std::string name = column.empty() ? "FID" : "\"" + column + "\"";
    const std::string where = name + " >= " + std::to_string(first) + " AND " + name + " < " + std::to_string(last);
    CPLPushErrorHandler(CPLQuietErrorHandler);
    const bool ok = OGR_L_SetAttributeFilter(m_impl->layer, where.c_str()) == OGRERR_NONE;
    CPLPopErrorHandler();
    OGR_L_ResetReading(m_impl->layer);
    return ok;
}

bool DemoLayerStream::Next(DemoFeature& df, long long& fid)
{
    if (!m_impl->layer) return false;
    OGRFeatureH of = OGR_L_GetNextFeature(m_impl->layer);
    if (!of) return false;
    fid = static_cast<long long>(OGR_F_GetFID(of));
    DemoLayerReader::ReadRecord(of, m_fields, m_impl->wideNames, m_impl->toWgs84, df);
    OGR_F_Destroy(of);
    return true;
}

bool DemoLayerStream::Fetch(long long fid, DemoFeature& df)
{
    if (!m_impl->layer) return false;
    CPLPushErrorHandler(CPLQuietErrorHandler);
    OGRFeatureH of = OGR_L_GetFeature(m_impl->layer, static_cast<GIntBig>(fid));
    CPLPopErrorHandler();
    if (!of) return false;
    df = DemoFeature();
    DemoLayerReader::ReadRecord(of, m_fields, m_impl->wideNames, m_impl->toWgs84, df);
    OGR_F_Destroy(of);
    return true;
}

} // namespace KRN
