#include "DemoGlbWriter.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "DemoJson.h"

namespace KRN {

namespace {

constexpr std::uint32_t kMagic = 0x46546C67;     // "glTF"
constexpr std::uint32_t kJsonChunk = 0x4E4F534A; // "JSON"
constexpr std::uint32_t kBinChunk = 0x004E4942;  // "BIN\0"
constexpr int kFloat = 5126;
constexpr int kUnsignedShort = 5123;
constexpr int kArrayBuffer = 34962;
constexpr int kModePoints = 0;
constexpr int kModeLineStrip = 3;
constexpr int kModeTriangles = 4;

void Pad(std::vector<std::uint8_t>& bytes, std::uint8_t fill, size_t alignment = 4)
{
    while (bytes.size() % alignment != 0) bytes.push_back(fill);
}

// Vertex colours are linear in glTF while legends give screen (sRGB) colours: the inverse of the
// sRGB transfer curve, kept in 16 bits so that the darkest legend colours survive the round trip
std::uint16_t LinearChannel(std::uint8_t srgb)
{
    const double c = srgb / 255.0;
    const double linear = c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    return static_cast<std::uint16_t>(std::lround(linear * 65535.0));
}

void PutU32(std::vector<std::uint8_t>& bytes, std::uint32_t v)
{
    for (int i = 0; i < 4; ++i) bytes.push_back(static_cast<std::uint8_t>((v >> (8 * i)) & 0xFF));
}

// glTF is y-up: the Earth-centred axes (x, y, z) are written as (x, z, -y), the rotation that
// globe viewers undo when they place y-up content on the globe
void GltfAxes(double x, double y, double z, double out[3])
{
    out[0] = x;
    out[1] = z;
    out[2] = -y;
}

class Builder {
public:
    DemoJson views, accessors;
    std::vector<std::uint8_t> bin;
    int viewCount = 0, accessorCount = 0;

    Builder()
    {
        views.BeginArray();
        accessors.BeginArray();
    }

    // A buffer view over bytes appended to the BIN chunk; answers its index. Vertex data has a
    // target; feature table data has none and starts on 8 bytes.
    int AddView(const void* data, size_t size, bool vertexData = true)
    {
        Pad(bin, 0, vertexData ? 4 : 8);
        const size_t offset = bin.size();
        const auto* p = static_cast<const std::uint8_t*>(data);
        bin.insert(bin.end(), p, p + size);
        views.BeginObject().Key("buffer").Integer(0).Key("byteOffset").Integer(static_cast<long long>(offset));
        views.Key("byteLength").Integer(static_cast<long long>(size));
        if (vertexData) views.Key("target").Integer(kArrayBuffer);
        views.EndObject();
        return viewCount++;
    }

    // A float SCALAR accessor of feature ids over count vertices from the given first vertex
    int AddFeatureIds(int view, size_t first, size_t count)
    {
        accessors.BeginObject().Key("bufferView").Integer(view);
        accessors.Key("byteOffset").Integer(static_cast<long long>(first * 4));
        accessors.Key("componentType").Integer(kFloat).Key("count").Integer(static_cast<long long>(count));
        accessors.Key("type").String("SCALAR").EndObject();
        return accessorCount++;
    }

    // A float VEC3 accessor over count vertices from the given first vertex, with exact bounds
    int AddVec3(int view, const std::vector<float>& values, size_t first, size_t count, bool bounds)
    {
        accessors.BeginObject().Key("bufferView").Integer(view);
        accessors.Key("byteOffset").Integer(static_cast<long long>(first * 12));
        accessors.Key("componentType").Integer(kFloat).Key("count").Integer(static_cast<long long>(count));
        accessors.Key("type").String("VEC3");
        if (bounds) {
            float lo[3], hi[3];
            for (int k = 0; k < 3; ++k) lo[k] = std::numeric_limits<float>::max(), hi[k] = -lo[k];
            for (size_t i = first; i < first + count; ++i) {
                for (int k = 0; k < 3; ++k) {
                    lo[k] = std::min(lo[k], values[i * 3 + k]);
                    hi[k] = std::max(hi[k], values[i * 3 + k]);
                }
            }
            accessors.Key("min").BeginArray();
            for (float v : lo) accessors.Number(v);
            accessors.EndArray().Key("max").BeginArray();
            for (float v : hi) accessors.Number(v);
            accessors.EndArray();
        }
        accessors.EndObject();
        return accessorCount++;
    }

    int AddColours(int view, size_t first, size_t count)
    {
        accessors.BeginObject().Key("bufferView").Integer(view);
        accessors.Key("byteOffset").Integer(static_cast<long long>(first * 8));
        accessors.Key("componentType").Integer(kUnsignedShort).Key("normalized").Bool(true);
        accessors.Key("count").Integer(static_cast<long long>(count)).Key("type").String("VEC4").EndObject();
        return accessorCount++;
    }
};

struct Packed {
    std::vector<float> positions, normals, features;
    std::vector<std::uint16_t> colours;
};

Packed Pack(const std::vector<DemoVertex>& vertices, const double centre[3])
{
    Packed p;
    p.positions.reserve(vertices.size() * 3);
    p.normals.reserve(vertices.size() * 3);
    p.colours.reserve(vertices.size() * 4);
    p.features.reserve(vertices.size());
    for (const DemoVertex& v : vertices) {
        double pos[3], n[3];
        GltfAxes(v.x, v.y, v.z, pos);
        GltfAxes(v.nx, v.ny, v.nz, n);
        for (int k = 0; k < 3; ++k) p.positions.push_back(static_cast<float>(pos[k] - centre[k]));
        for (int k = 0; k < 3; ++k) p.normals.push_back(static_cast<float>(n[k]));
        for (int k = 0; k < 3; ++k) p.colours.push_back(LinearChannel(v.rgba[static_cast<size_t>(k)]));
        p.colours.push_back(static_cast<std::uint16_t>(v.rgba[3] * 257));
        // Float ids are exact up to 2^24 features
        p.features.push_back(static_cast<float>(v.feature));
    }
    return p;
}

// The feature table: one row per feature id, holding the feature's name
std::string FeatureTable(Builder& b, const std::vector<std::string>& names)
{
    std::string text;
    std::vector<std::uint32_t> offsets{0};
    for (const std::string& name : names) {
        text += name;
        offsets.push_back(static_cast<std::uint32_t>(text.size()));
    }
    // A buffer view holds at least one byte; the offsets keep every name empty then
    if (text.empty()) text.push_back(' ');
    const int values = b.AddView(text.data(), text.size(), false);
    const int starts = b.AddView(offsets.data(), offsets.size() * sizeof(std::uint32_t), false);
    DemoJson j;
    j.BeginObject().Key("schema").BeginObject().Key("id").String("t3d_demo").Key("classes").BeginObject();
    j.Key("feature").BeginObject().Key("properties").BeginObject().Key("name").BeginObject().Key("type").String("STRING");
    j.EndObject().EndObject().EndObject().EndObject().EndObject();
    j.Key("propertyTables").BeginArray().BeginObject().Key("class").String("feature");
    j.Key("count").Integer(static_cast<long long>(names.size())).Key("properties").BeginObject();
    j.Key("name").BeginObject().Key("values").Integer(values).Key("stringOffsets").Integer(starts);
    j.Key("stringOffsetType").String("UINT32").EndObject().EndObject().EndObject().EndArray().EndObject();
    return j.Text();
}

} // namespace

std::vector<std::uint8_t> DemoGlbWriter::Encode(const DemoScene& scene)
{
    // The root node carries the scene's centre so that float positions stay within a few
    // kilometres of precision loss at worst, instead of metres at the Earth's radius
    double lo[3] = {std::numeric_limits<double>::max(), std::numeric_limits<double>::max(), std::numeric_limits<double>::max()};
    double hi[3] = {-lo[0], -lo[1], -lo[2]};
    size_t total = 0;
    for (const auto* list : {&scene.GetTriangles(), &scene.GetLineVertices(), &scene.GetPoints()}) {
        for (const DemoVertex& v : *list) {
            double pos[3];
            GltfAxes(v.x, v.y, v.z, pos);
            for (int k = 0; k < 3; ++k) lo[k] = std::min(lo[k], pos[k]), hi[k] = std::max(hi[k], pos[k]);
            ++total;
        }
    }
    double centre[3] = {0.0, 0.0, 0.0};
    if (total > 0) {
        for (int k = 0; k < 3; ++k) centre[k] = (lo[k] + hi[k]) * 0.5;
    }

    Builder b;
    DemoJson primitives;
    primitives.BeginArray();
    // Every vertex names its feature when the scene has a feature table; the viewer picks by it
    const std::vector<std::string>& names = scene.GetFeatureNames();
    const bool featureIds = !names.empty();
    auto primitive = [&](const std::vector<DemoVertex>& vertices, int positions, int normals, int colours,
                         int ids, size_t first, size_t count, int material, int mode) {
        primitives.BeginObject().Key("attributes").BeginObject().Key("POSITION").Integer(positions);
        if (normals >= 0) primitives.Key("NORMAL").Integer(normals);
        primitives.Key("COLOR_0").Integer(colours);
        if (featureIds) primitives.Key("_FEATURE_ID_0").Integer(ids);
        primitives.EndObject().Key("material").Integer(material).Key("mode").Integer(mode);
        if (featureIds) {
            std::vector<std::uint32_t> distinct;
            distinct.reserve(count);
            for (size_t i = first; i < first + count; ++i) distinct.push_back(vertices[i].feature);
            std::sort(distinct.begin(), distinct.end());
            const auto unique = std::unique(distinct.begin(), distinct.end()) - distinct.begin();
            primitives.Key("extensions").BeginObject().Key("EXT_mesh_features").BeginObject();
            primitives.Key("featureIds").BeginArray().BeginObject().Key("featureCount").Integer(unique);
            primitives.Key("attribute").Integer(0).Key("propertyTable").Integer(0).EndObject().EndArray();
            primitives.EndObject().EndObject();
        }
        primitives.EndObject();
    };
    if (!scene.GetTriangles().empty()) {
        const Packed p = Pack(scene.GetTriangles(), centre);
        const int pv = b.AddView(p.positions.data(), p.positions.size() * sizeof(float));
        const int nv = b.AddView(p.normals.data(), p.normals.size() * sizeof(float));
        const int cv = b.AddView(p.colours.data(), p.colours.size() * sizeof(std::uint16_t));
        const int fv = featureIds ? b.AddView(p.features.data(), p.features.size() * sizeof(float)) : -1;
        const size_t n = scene.GetTriangles().size();
        const int pa = b.AddVec3(pv, p.positions, 0, n, true);
        const int na = b.AddVec3(nv, p.normals, 0, n, false);
        const int ca = b.AddColours(cv, 0, n);
        const int fa = featureIds ? b.AddFeatureIds(fv, 0, n) : -1;
        primitive(scene.GetTriangles(), pa, na, ca, fa, 0, n, 0, kModeTriangles);
    }
    if (!scene.GetStrips().empty()) {
        const Packed p = Pack(scene.GetLineVertices(), centre);
        const int pv = b.AddView(p.positions.data(), p.positions.size() * sizeof(float));
        const int cv = b.AddView(p.colours.data(), p.colours.size() * sizeof(std::uint16_t));
        const int fv = featureIds ? b.AddView(p.features.data(), p.features.size() * sizeof(float)) : -1;
        for (const auto& strip : scene.GetStrips()) {
            const int pa = b.AddVec3(pv, p.positions, strip.first, strip.second, true);
            const int ca = b.AddColours(cv, strip.first, strip.second);
            const int fa = featureIds ? b.AddFeatureIds(fv, strip.first, strip.second) : -1;
            primitive(scene.GetLineVertices(), pa, -1, ca, fa, strip.first, strip.second, 1, kModeLineStrip);
        }
    }
    if (!scene.GetPoints().empty()) {
        const Packed p = Pack(scene.GetPoints(), centre);
        const int pv = b.AddView(p.positions.data(), p.positions.size() * sizeof(float));
        const int cv = b.AddView(p.colours.data(), p.colours.size() * sizeof(std::uint16_t));
        const int fv = featureIds ? b.AddView(p.features.data(), p.features.size() * sizeof(float)) : -1;
        const size_t n = scene.GetPoints().size();
        const int pa = b.AddVec3(pv, p.positions, 0, n, true);
        const int ca = b.AddColours(cv, 0, n);
        const int fa = featureIds ? b.AddFeatureIds(fv, 0, n) : -1;
        primitive(scene.GetPoints(), pa, -1, ca, fa, 0, n, 1, kModePoints);
    }
    primitives.EndArray();
    const bool hasMesh = b.accessorCount > 0;

    std::string json = "{\"asset\":{\"version\":\"2.0\",\"generator\":\"t3d_demo\"},";
    if (hasMesh) {
        json += "\"extensionsUsed\":[\"KHR_materials_unlit\"";
        if (featureIds) json += ",\"EXT_mesh_features\",\"EXT_structural_metadata\"";
        json += "],";
    }
    if (hasMesh && featureIds) json += "\"extensions\":{\"EXT_structural_metadata\":" + FeatureTable(b, names) + "},";
    json += "\"scene\":0,\"scenes\":[{\"nodes\":[0]}],\"nodes\":[{\"name\":\"layer\",\"translation\":[";
    DemoJson t;
    t.BeginArray().Number(centre[0]).Number(centre[1]).Number(centre[2]).EndArray();
    json += t.Text().substr(1, t.Text().size() - 2);
    json += "]";
    if (hasMesh) {
        json += ",\"mesh\":0}],\"meshes\":[{\"primitives\":" + primitives.Text() + "}],";
        // Unlit: the map shows the legend's colours whatever the light; the PBR values are the
        // fallback of viewers without the extension
        const std::string unlit = "\"pbrMetallicRoughness\":{\"metallicFactor\":0,\"roughnessFactor\":1},"
                                  "\"extensions\":{\"KHR_materials_unlit\":{}}";
        json += "\"materials\":[{\"name\":\"surfaces\"," + unlit + ",\"doubleSided\":true},{\"name\":\"lines\"," +
                unlit + "}],";
        b.accessors.EndArray();
        b.views.EndArray();
        json += "\"accessors\":" + b.accessors.Text() + ",\"bufferViews\":" + b.views.Text() + ",";
        Pad(b.bin, 0);
        json += "\"buffers\":[{\"byteLength\":" + std::to_string(b.bin.size()) + "}]}";
    } else {
        json += "}]}";
    }

    std::vector<std::uint8_t> jsonBytes(json.begin(), json.end());
    Pad(jsonBytes, ' ');
    std::vector<std::uint8_t> out;
    const size_t length = 12 + 8 + jsonBytes.size() + (hasMesh ? 8 + b.bin.size() : 0);
    // The container counts its length in 32 bits
    if (length > 0xFFFFFFFFu) return out;
    PutU32(out, kMagic);
    PutU32(out, 2);
    PutU32(out, static_cast<std::uint32_t>(length));
    PutU32(out, static_cast<std::uint32_t>(jsonBytes.size()));
    PutU32(out, kJsonChunk);
    out.insert(out.end(), jsonBytes.begin(), jsonBytes.end());
    if (hasMesh) {
        PutU32(out, static_cast<std::uint32_t>(b.bin.size()));
        PutU32(out, kBinChunk);
        out.insert(out.end(), b.bin.begin(), b.bin.end());
    }
    return out;
}

bool DemoGlbWriter::Write(const DemoScene& scene, DemoOutputFile& out, std::string& error)
{
    const std::vector<std::uint8_t> bytes = Encode(scene);
    if (bytes.empty()) {
        error = "the scene for '" + out.GetPath() + "' is larger than a .glb file can hold (4 GiB)";
        return false;
    }
    return out.Open(error) && out.Write(bytes.data(), bytes.size(), error) && out.Close(error);
}

} // namespace KRN
