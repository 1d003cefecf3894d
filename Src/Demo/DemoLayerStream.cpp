#include "DemoLayerStream.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <unistd.h>

#include <cpl_conv.h>
#include <cpl_error.h>
#include <gdal.h>
#include <ogr_api.h>
#include <ogr_core.h>
#include <ogr_srs_api.h>

#include "DemoLayerReader.h"
#include "KrGeometry.h"

namespace KRN {

namespace {

// A shapefile without its .qix index answers a rectangle by reading every record, so each tile
// would read the whole layer again. Such a file gets an index once per run, built by GDAL in a
// temporary folder that holds a copy of its shapes (GDAL writes the index only beside a file it
// may change) and links to its other parts, so the source's folder is left as it is. Every
// stream that opens the file shares the index; the folder goes when the program ends.
class ShapeIndexes {
public:
    ~ShapeIndexes()
    {
        for (const std::string& f : m_files) std::remove(f.c_str());
        for (const std::string& d : m_dirs) rmdir(d.c_str());
    }

    // The path to open instead of a shapefile's: its linked copy with an index, or path itself
    // when no index could be made
    std::string Indexed(const std::string& path, const std::string& layerName)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        auto found = m_linked.find(path);
        if (found != m_linked.end()) return found->second;
        m_linked[path] = path;
        char* real = realpath(path.c_str(), nullptr);
        if (!real) return path;
        const std::string full = real;
        std::free(real);
        const size_t slash = full.find_last_of('/'), dot = full.find_last_of('.');
        if (dot == std::string::npos || dot < slash) return path;
        const char* tmp = std::getenv("TMPDIR");
        std::string dir = std::string(tmp && *tmp ? tmp : "/tmp") + "/t3d-shape-XXXXXX";
        if (!mkdtemp(&dir[0])) return path;
        m_dirs.push_back(dir);
        const std::string stem = full.substr(slash + 1, dot - slash - 1), base = full.substr(0, dot);
        std::string linkedPath;
        for (const char* ext : {".shp", ".shx", ".dbf", ".prj", ".cpg", ".SHP", ".SHX", ".DBF", ".PRJ", ".CPG"}) {
            const std::string from = base + ext, to = dir + "/" + stem + ext;
            if (access(from.c_str(), R_OK) != 0) continue;
            const bool shapes = std::toupper(ext[2]) == 'S';
            if (shapes ? CPLCopyFile(to.c_str(), from.c_str()) != 0 : symlink(from.c_str(), to.c_str()) != 0) continue;
            m_files.push_back(to);
            if (from == full) linkedPath = to;
        }
        if (linkedPath.empty()) return path;
        CPLPushErrorHandler(CPLQuietErrorHandler);
        GDALDatasetH ds = GDALOpenEx(linkedPath.c_str(), GDAL_OF_VECTOR | GDAL_OF_UPDATE, nullptr, nullptr, nullptr);
        bool indexed = false;
        if (ds) {
            const std::string sql = "CREATE SPATIAL INDEX ON \"" + layerName + "\"";
            if (OGRLayerH result = GDALDatasetExecuteSQL(ds, sql.c_str(), nullptr, nullptr)) GDALDatasetReleaseResultSet(ds, result);
            GDALClose(ds);
            const std::string index = dir + "/" + stem + ".qix";
            indexed = access(index.c_str(), R_OK) == 0;
            if (indexed) m_files.push_back(index);
        }
        CPLPopErrorHandler();
        if (indexed) m_linked[path] = linkedPath;
        return m_linked[path];
    }

private:
    std::mutex m_mutex;
    std::map<std::string, std::string> m_linked;
    std::vector<std::string> m_files, m_dirs;
};

ShapeIndexes& Indexes()
{
    static ShapeIndexes indexes;
    return indexes;
}

} // namespace

struct DemoLayerStream::Impl {
    GDALDatasetH ds = nullptr;
    OGRLayerH layer = nullptr;
    OGRCoordinateTransformationH toWgs84 = nullptr;
    OGRCoordinateTransformationH fromWgs84 = nullptr;
    std::vector<BSX::BsxUnicodeString> wideNames;
    DemoReadOptions read;
    // Coordinate fields of a table read as points (-1: the layer's geometry)
    int xIndex = -1, yIndex = -1;

    ~Impl()
    {
        if (toWgs84) OCTDestroyCoordinateTransformation(toWgs84);
        if (fromWgs84) OCTDestroyCoordinateTransformation(fromWgs84);
        if (ds) GDALClose(ds);
    }
};

DemoLayerStream::DemoLayerStream() : m_impl(std::make_unique<Impl>()) {}

DemoLayerStream::~DemoLayerStream() = default;

bool DemoLayerStream::Open(const std::string& path, const std::string& layerName, const DemoReadOptions& read,
                           std::string& error)
{
    m_impl = std::make_unique<Impl>();
    m_impl->read = read;
    GDALAllRegister();
    m_impl->ds = DemoLayerReader::OpenDataSet(path, error);
    if (!m_impl->ds) return false;
    OGRLayerH src = layerName.empty() ? GDALDatasetGetLayer(m_impl->ds, 0)
                                      : GDALDatasetGetLayerByName(m_impl->ds, layerName.c_str());
    if (!src) {
        error = layerName.empty() ? "the data set '" + path + "' holds no vector layer"
                                  : "the data set '" + path + "' has no layer '" + layerName + "'";
        return false;
    }
    if (std::string(GDALGetDriverShortName(GDALGetDatasetDriver(m_impl->ds))) == "ESRI Shapefile" &&
        !OGR_L_TestCapability(src, OLCFastSpatialFilter)) {
        const std::string name = OGR_L_GetName(src);
        const std::string indexed = Indexes().Indexed(path, name);
        GDALDatasetH linked = indexed == path ? nullptr : DemoLayerReader::OpenDataSet(indexed, error);
        OGRLayerH again = linked ? GDALDatasetGetLayerByName(linked, name.c_str()) : nullptr;
        if (again) {
            GDALClose(m_impl->ds);
            m_impl->ds = linked, src = again;
        } else if (linked) {
            GDALClose(linked);
        }
        error.clear();
    }
    m_impl->layer = src;

    // Everything is drawn on the WGS84 globe: reproject when the layer says where it is
    DemoLayerReader::MakeWgs84Transforms(src, &m_impl->toWgs84, &m_impl->fromWgs84);

    m_name = OGR_L_GetName(src);
    DemoLayer fields;
    fields.name = m_name;
    OGRFeatureDefnH defn = OGR_L_GetLayerDefn(src);
    for (int i = 0; i < OGR_FD_GetFieldCount(defn); ++i) {
        OGRFieldDefnH fd = OGR_FD_GetFieldDefn(defn, i);
        fields.fields.push_back(DemoField{OGR_Fld_GetNameRef(fd), DemoLayerReader::KindOfField(OGR_Fld_GetType(fd))});
        m_impl->wideNames.push_back(BSX::BsxUnicodeString::FromUtf8(fields.fields.back().name));
    }
    m_fields = fields.fields;
    if (!read.xField.empty()) {
        m_impl->xIndex = fields.FindField(read.xField);
        m_impl->yIndex = fields.FindField(read.yField);
        if (m_impl->xIndex < 0 || m_impl->yIndex < 0) {
            error = "the layer '" + m_name + "' has no field '" + (m_impl->xIndex < 0 ? read.xField : read.yField) +
                    "' (fields: " + fields.FieldList() + ")";
            return false;
        }
    } else if (OGR_FD_GetGeomFieldCount(defn) == 0) {
        error = "the layer '" + m_name + "' of '" + path +
                "' has no geometry; name its longitude and latitude fields with --x-field and --y-field (fields: " +
                fields.FieldList() + ")";
        return false;
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
    if (m_impl->layer && m_impl->xIndex >= 0) {
        // A table knows no extent: its coordinates are read once, every readable one counted
        OGR_L_SetSpatialFilter(m_impl->layer, nullptr);
        OGR_L_SetAttributeFilter(m_impl->layer, nullptr);
        OGR_L_ResetReading(m_impl->layer);
        west = south = HUGE_VAL, east = north = -HUGE_VAL;
        CPLPushErrorHandler(CPLQuietErrorHandler);
        while (OGRFeatureH of = OGR_L_GetNextFeature(m_impl->layer)) {
            DemoFeature point;
            if (DemoLayerReader::PointFromFields(of, m_impl->xIndex, m_impl->yIndex, point)) {
                west = std::min(west, point.anchor.x), east = std::max(east, point.anchor.x);
                south = std::min(south, point.anchor.y), north = std::max(north, point.anchor.y);
            }
            OGR_F_Destroy(of);
        }
        CPLPopErrorHandler();
        OGR_L_ResetReading(m_impl->layer);
        return west <= east && south <= north;
    }
    OGREnvelope env;
    if (!m_impl->layer || OGR_L_GetExtent(m_impl->layer, &env, 1) != OGRERR_NONE) return false;
    west = env.MinX, south = env.MinY, east = env.MaxX, north = env.MaxY;
    if (m_impl->toWgs84 &&
        !OCTTransformBounds(m_impl->toWgs84, env.MinX, env.MinY, env.MaxX, env.MaxY, &west, &south, &east, &north, 21))
        return false;
    // Reprojected bounds across the antimeridian come with west > east
    return std::isfinite(west) && std::isfinite(south) && std::isfinite(east) && std::isfinite(north) &&
           (west <= east || m_impl->toWgs84) && south <= north;
}

void DemoLayerStream::Reset()
{
    m_error.clear(), m_skipped = 0;
    if (!m_impl->layer) return;
    OGR_L_SetSpatialFilter(m_impl->layer, nullptr);
    OGR_L_SetAttributeFilter(m_impl->layer, nullptr);
    OGR_L_ResetReading(m_impl->layer);
}

void DemoLayerStream::ResetInside(double west, double south, double east, double north)
{
    m_error.clear(), m_skipped = 0;
    if (!m_impl->layer) return;
    // A rectangle past the antimeridian may meet features written on either side of it: ask
    // for the span that holds both copies, the caller keeps those whose anchor is inside
    if (east > 180.0) west -= 360.0;
    else if (west < -180.0) east += 360.0;
    if (m_impl->xIndex >= 0) {
        // A table is selected by its coordinate fields when they hold numbers (text would compare
        // as text); otherwise every record comes and the caller keeps those inside
        const bool numbers = m_fields[static_cast<size_t>(m_impl->xIndex)].IsNumeric() &&
                             m_fields[static_cast<size_t>(m_impl->yIndex)].IsNumeric();
        char where[512];
        const std::string x = m_fields[static_cast<size_t>(m_impl->xIndex)].name;
        const std::string y = m_fields[static_cast<size_t>(m_impl->yIndex)].name;
        std::snprintf(where, sizeof where, "\"%s\" >= %.17g AND \"%s\" <= %.17g AND \"%s\" >= %.17g AND \"%s\" <= %.17g",
                      x.c_str(), west, x.c_str(), east, y.c_str(), south, y.c_str(), north);
        CPLPushErrorHandler(CPLQuietErrorHandler);
        if (!numbers || x.find('"') != std::string::npos || y.find('"') != std::string::npos ||
            OGR_L_SetAttributeFilter(m_impl->layer, where) != OGRERR_NONE)
            OGR_L_SetAttributeFilter(m_impl->layer, nullptr);
        CPLPopErrorHandler();
        OGR_L_ResetReading(m_impl->layer);
        return;
    }
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
    m_error.clear(), m_skipped = 0;
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
    if (!m_impl->layer || !m_error.empty()) return false;
    for (;;) {
        DemoLayerReader::Errors errors;
        CPLPushErrorHandlerEx(DemoLayerReader::Errors::Handler, &errors);
        OGRFeatureH of = OGR_L_GetNextFeature(m_impl->layer);
        bool placed = true;
        if (of) placed = Read(of, df);
        CPLPopErrorHandler();
        if (!of) {
            // A source that gives up early leaves records unread
            if (errors.count > 0 && !m_impl->read.lenient)
                m_error = "GDAL reported an error reading the layer '" + m_name + "': " + errors.first +
                          " (--lenient skips the features it cannot read)";
            return false;
        }
        fid = static_cast<long long>(OGR_F_GetFID(of));
        OGR_F_Destroy(of);
        if (errors.count == 0 && placed) return true;
        if (m_impl->read.lenient) {
            ++m_skipped;
            continue;
        }
        m_error = errors.count > 0 ? "GDAL reported an error reading feature " + std::to_string(fid) + " of the layer '" +
                                         m_name + "': " + errors.first + " (--lenient skips the features it cannot read)"
                                   : "feature " + std::to_string(fid) + " of the layer '" + m_name + "' has no number in '" +
                                         m_impl->read.xField + "' or '" + m_impl->read.yField + "' (--lenient skips them)";
        return false;
    }
}

bool DemoLayerStream::Read(OGRFeatureH of, DemoFeature& df) const
{
    DemoLayerReader::ReadRecord(of, m_fields, m_impl->wideNames, m_impl->toWgs84, df);
    if (m_impl->xIndex < 0) return true;
    df.parts.clear();
    df.hasAnchor = false;
    df.geometryType = KrGeometry::GEO_UNKNOWN;
    const bool placed = DemoLayerReader::PointFromFields(of, m_impl->xIndex, m_impl->yIndex, df);
    df.feature->SetGeometry(new KrGeometry(df.geometryType));
    return placed;
}

bool DemoLayerStream::Fetch(long long fid, DemoFeature& df)
{
    if (!m_impl->layer) return false;
    CPLPushErrorHandler(CPLQuietErrorHandler);
    OGRFeatureH of = OGR_L_GetFeature(m_impl->layer, static_cast<GIntBig>(fid));
    CPLPopErrorHandler();
    if (!of) return false;
    df = DemoFeature();
    Read(of, df);
    OGR_F_Destroy(of);
    return true;
}

bool DemoLayerStream::FetchAll(const std::vector<long long>& fids, std::vector<DemoFeature>& features, long long& missing)
{
    features.clear();
    features.resize(fids.size());
    missing = -1;
    if (!m_impl->ds) return false;
    // A database source takes and drops its file lock around every lookup that runs on its
    // own, and checks for a journal each time: three quarters of a lookup's cost. One read
    // transaction around them all takes the lock once. Sources without transactions refuse
    // it and read as before; nothing is ever written, so the transaction is rolled back.
    CPLPushErrorHandler(CPLQuietErrorHandler);
    const bool transaction = GDALDatasetStartTransaction(m_impl->ds, FALSE) == OGRERR_NONE;
    CPLPopErrorHandler();
    bool ok = true;
    for (size_t i = 0; i < fids.size() && ok; ++i) {
        if (!Fetch(fids[i], features[i])) {
            missing = fids[i];
            ok = false;
        }
    }
    if (transaction) {
        CPLPushErrorHandler(CPLQuietErrorHandler);
        GDALDatasetRollbackTransaction(m_impl->ds);
        CPLPopErrorHandler();
    }
    return ok;
}

} // namespace KRN
