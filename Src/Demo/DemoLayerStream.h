#pragma once
// A vector layer read one feature at a time with GDAL/OGR, so that a layer of any size can be
// drawn without holding it: optionally only the features whose extent meets a rectangle, or
// only those whose identifier lies in a span. Each stream owns its own data set handle, so one
// stream per thread reads the same file in parallel.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "DemoLayer.h"
#include "DemoLayerReader.h"

namespace KRN {

class DemoLayerStream {
public:
    DemoLayerStream();
    ~DemoLayerStream();
    DemoLayerStream(const DemoLayerStream&) = delete;
    DemoLayerStream& operator=(const DemoLayerStream&) = delete;

    // Opens the layer of that name (the first when empty); false with a message otherwise. Read
    // options as the whole-layer reader takes them: leniently (features GDAL cannot read, or
    // without a number in a coordinate field, are skipped and counted), and points from two
    // coordinate fields for a table without geometry.
    bool Open(const std::string& path, const std::string& layerName, const DemoReadOptions& read, std::string& error);
    bool Open(const std::string& path, const std::string& layerName, std::string& error)
    {
        return Open(path, layerName, DemoReadOptions(), error);
    }
    const std::string& GetName() const { return m_name; }
    const std::vector<DemoField>& GetFields() const { return m_fields; }
    // The number of features the source reports, -1 when it cannot tell without reading
    long long CountHint() const;

    // The layer's extent in WGS84 degrees (west > east when a reprojected layer crosses the
    // antimeridian); false when the layer cannot tell
    bool GetExtent(double& west, double& south, double& east, double& north) const;

    // Restarts reading over every feature
    void Reset();
    // Restarts reading over the features whose extent meets the rectangle (degrees, WGS84, whose
    // longitudes may run past 180 across the antimeridian); the source may hand a few more,
    // never fewer
    void ResetInside(double west, double south, double east, double north);
    // Restarts reading over the features with first <= identifier < last; false when the source
    // cannot select by identifier
    bool ResetSpan(long long first, long long last);
    // The next feature (geometry in WGS84 degrees, anchor, attributes); false at the end, or
    // at a feature that cannot be read when reading strictly (GetError then says why).
    // fid is the source's identifier of the feature.
    bool Next(DemoFeature& feature, long long& fid);
    // Why reading stopped early since the last restart; empty when it did not
    const std::string& GetError() const { return m_error; }
    // Features skipped since the last restart (lenient reading)
    std::uint64_t GetSkipped() const { return m_skipped; }
    // The feature of that identifier, read as Next reads it; false when the source has none.
    // Reading restarts afterwards.
    bool Fetch(long long fid, DemoFeature& feature);
    // The features of those identifiers, in their order, read as Fetch reads them; false when
    // the source lacks one (missing then names it). Reading restarts afterwards.
    bool FetchAll(const std::vector<long long>& fids, std::vector<DemoFeature>& features, long long& missing);

private:
    // One record as Next hands it; false when a table's record has no place
    bool Read(OGRFeatureH record, DemoFeature& feature) const;

    struct Impl;
    std::unique_ptr<Impl> m_impl;
    std::string m_name;
    std::vector<DemoField> m_fields;
    std::string m_error;
    std::uint64_t m_skipped = 0;
};

} // namespace KRN
