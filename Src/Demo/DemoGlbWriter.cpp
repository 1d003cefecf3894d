#include "DemoGlbWriter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <mutex>
#include <unordered_map>

#include <meshoptimizer.h>

#include "DemoJson.h"

namespace KRN {

namespace {

using Sink = DemoGlbWriter::Sink;
constexpr size_t kWriteBuffer = 1 << 20;
constexpr std::uint32_t kMagic = 0x46546C67;     // "glTF"
constexpr std::uint32_t kJsonChunk = 0x4E4F534A; // "JSON"
constexpr std::uint32_t kBinChunk = 0x004E4942;  // "BIN\0"
constexpr int kFloat = 5126;
constexpr int kUnsignedShort = 5123;
constexpr int kArrayBuffer = 34962;
constexpr int kModeTriangles = 4;

void Pad(std::vector<std::uint8_t>& bytes, std::uint8_t fill, size_t alignment = 4)
{
    while (bytes.size() % alignment != 0) bytes.push_back(fill);
}

// Vertex colours are linear in glTF while legends give screen (sRGB) colours: the inverse of the
// sRGB transfer curve, kept in 16 bits so that the darkest legend colours survive the round trip
std::uint16_t LinearChannel(std::uint8_t srgb)
{
    // Computed once for the 256 values a channel can take: the curve is costly per vertex
    static const std::array<std::uint16_t, 256> table = [] {
        std::array<std::uint16_t, 256> t{};
        for (size_t i = 0; i < t.size(); ++i) {
            const double c = static_cast<double>(i) / 255.0;
            const double linear = c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
            t[i] = static_cast<std::uint16_t>(std::lround(linear * 65535.0));
        }
        return t;
    }();
    return table[srgb];
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

constexpr int kElementArrayBuffer = 34963;
constexpr int kModeLines = 1;

// The scene's vertex and index data go through meshoptimizer's codecs (EXT_meshopt_compression).
// Plain glTF left a vertex at 16 bytes here (a float position and a float feature id) and an
// index at 2: on the world-atlas 1:10m countries 1.9 times the layer's raw coordinates (12 bytes
// a point) for flat maps and 4.5 times for the extrusion, whose walls double the vertices and
// triple the triangles; compressed, 0.66 and 1.6 times. Of the two codecs CesiumJS decodes,
// Draco packs connectivity tighter but rebuilds the mesh in an order of its own and quantises
// each attribute on a grid over its bounds; meshopt's codecs are lossless, keep vertices and
// triangles as written (so primitives, feature ids and the tiles' byte identity carry over), add
// about 0.2 s of CPU to the five themes of those countries, and come with a filter that keeps
// positions floats at a precision chosen here (PackPositions). The glTF validator does not
// decode them and says so as an information; the demo's validator tests decode every file with
// the decoder CesiumJS ships and validate that as well.
class Builder {
public:
    DemoJson views, accessors;
    // The views of the BIN chunk, each at its offset and no larger than it is (the chunk is held
    // until its length is written before it, at a fraction of the scene's size); the chunk's
    // length, and that of the uncompressed views that the fallback buffer stands for
    struct Piece {
        size_t offset;
        std::vector<std::uint8_t> bytes;
    };
    std::vector<Piece> pieces;
    size_t binSize = 0, fallbackSize = 0;
    int viewCount = 0, accessorCount = 0;

    Builder()
    {
        views.BeginArray();
        accessors.BeginArray();
        // The extension's triangle and index streams are the codec's version 1 (headers 0xe1
        // and 0xd1); the library writes version 0 unless told, once, before any thread encodes
        static std::once_flag once;
        std::call_once(once, [] { meshopt_encodeIndexVersion(1); });
    }

    // A view of bytes as they are (feature tables, which start on 8 bytes)
    int AddBytes(const void* data, size_t size)
    {
        const auto* p = static_cast<const std::uint8_t*>(data);
        const size_t at = Append((binSize + 7) / 8 * 8, p, p + size);
        views.BeginObject().Key("buffer").Integer(0).Key("byteOffset").Integer(static_cast<long long>(at));
        views.Key("byteLength").Integer(static_cast<long long>(size)).EndObject();
        return viewCount++;
    }

    // A vertex attribute of count elements of stride bytes, decoded through filter when given
    int AddAttribute(const void* data, size_t count, size_t stride, const char* filter = nullptr)
    {
        return AddCompressed(meshopt_encodeVertexBufferBound(count, stride), count, stride, kArrayBuffer, "ATTRIBUTES", filter,
                             [&](std::uint8_t* out, size_t room) { return meshopt_encodeVertexBuffer(out, room, data, count, stride); });
    }

    // 16-bit indices into vertexCount vertices: triangle lists, or any other list (segments)
    int AddIndices(const std::vector<std::uint16_t>& indices, size_t vertexCount, bool triangles)
    {
        // The codecs read 32-bit indices; one buffer serves every primitive
        m_wide.assign(indices.begin(), indices.end());
        const size_t n = indices.size();
        if (triangles) {
            return AddCompressed(meshopt_encodeIndexBufferBound(n, vertexCount), n, 2, kElementArrayBuffer, "TRIANGLES", nullptr,
                                 [&](std::uint8_t* out, size_t room) { return meshopt_encodeIndexBuffer(out, room, m_wide.data(), n); });
        }
        return AddCompressed(meshopt_encodeIndexSequenceBound(n, vertexCount), n, 2, kElementArrayBuffer, "INDICES", nullptr,
                             [&](std::uint8_t* out, size_t room) { return meshopt_encodeIndexSequence(out, room, m_wide.data(), n); });
    }

    int AddAccessor(int view, int componentType, bool normalized, size_t count, const char* type, const float* lo = nullptr,
                    const float* hi = nullptr)
    {
        accessors.BeginObject().Key("bufferView").Integer(view).Key("componentType").Integer(componentType);
        if (normalized) accessors.Key("normalized").Bool(true);
        accessors.Key("count").Integer(static_cast<long long>(count)).Key("type").String(type);
        if (lo && hi) {
            accessors.Key("min").BeginArray();
            for (int k = 0; k < 3; ++k) accessors.Number(lo[k]);
            accessors.EndArray().Key("max").BeginArray();
            for (int k = 0; k < 3; ++k) accessors.Number(hi[k]);
            accessors.EndArray();
        }
        accessors.EndObject();
        return accessorCount++;
    }

private:
    // A view of count elements of stride bytes, stored as the codec's bytes of mode (at most
    // bound, written by encode) and decoded by the viewer into the fallback buffer's place
    template <typename Encode>
    int AddCompressed(size_t bound, size_t count, size_t stride, int target, const char* mode, const char* filter,
                      Encode encode)
    {
        m_scratch.resize(bound);
        const size_t size = encode(m_scratch.data(), bound);
        const size_t at = Append((binSize + 3) / 4 * 4, m_scratch.data(), m_scratch.data() + size);
        fallbackSize = (fallbackSize + 3) / 4 * 4;
        views.BeginObject().Key("buffer").Integer(1).Key("byteOffset").Integer(static_cast<long long>(fallbackSize));
        views.Key("byteLength").Integer(static_cast<long long>(count * stride));
        // Index views must not have a stride; vertex views state the one the codec uses
        if (target == kArrayBuffer) views.Key("byteStride").Integer(static_cast<long long>(stride));
        views.Key("target").Integer(target).Key("extensions").BeginObject().Key("EXT_meshopt_compression").BeginObject();
        views.Key("buffer").Integer(0).Key("byteOffset").Integer(static_cast<long long>(at));
        views.Key("byteLength").Integer(static_cast<long long>(size)).Key("byteStride").Integer(static_cast<long long>(stride));
        views.Key("mode").String(mode).Key("count").Integer(static_cast<long long>(count));
        if (filter) views.Key("filter").String(filter);
        views.EndObject().EndObject().EndObject();
        fallbackSize += count * stride;
        return viewCount++;
    }

    size_t Append(size_t at, const std::uint8_t* first, const std::uint8_t* last)
    {
        pieces.push_back(Piece{at, std::vector<std::uint8_t>(first, last)});
        binSize = at + pieces.back().bytes.size();
        return at;
    }

    // The codecs' worst case (about the uncompressed size of a primitive's largest view) and
    // their 32-bit indices, reused from view to view
    std::vector<std::uint8_t> m_scratch;
    std::vector<unsigned int> m_wide;
};

// The exponential filter decodes each 32-bit value as m * 2^e: e in the top byte, m the signed
// 24 bits below it. Every position of a primitive uses one e, the smallest with which the
// primitive's farthest vertex from the node's origin fits in m: a grid of 2^e metres on which
// no vertex moves by more than twice float32's own rounding at that distance. Over the whole
// globe that is a 1 m grid (the world-atlas 1:10m countries lie on a grid of 190 m by 400 m);
// on a tile a kilometre across, a tenth of a millimetre.
constexpr long long kMantissaMax = (1 << 23) - 1;

// Packs the primitive's positions about centre into out (offsets is room for their exact
// values) and gives their exact decoded bounds
void PackPositions(const std::vector<DemoVertex>& vertices, const std::vector<std::uint32_t>& used,
                   const double centre[3], std::vector<double>& offsets, std::vector<std::uint32_t>& out, float lo[3],
                   float hi[3])
{
    offsets.resize(used.size() * 3);
    double farthest = 0.0;
    for (size_t i = 0; i < used.size(); ++i) {
        const DemoVertex& v = vertices[used[i]];
        double* d = &offsets[i * 3];
        GltfAxes(v.x, v.y, v.z, d);
        for (int k = 0; k < 3; ++k) {
            d[k] -= centre[k];
            farthest = std::max(farthest, std::fabs(d[k]));
        }
    }
    int e = 0;
    std::frexp(farthest, &e);
    // farthest < 2^e, so 2^(e - 23) keeps it within 2^23 steps; rounding may reach 2^23 itself
    e -= 23;
    if (std::llround(std::ldexp(farthest, -e)) > kMantissaMax) ++e;
    // The filter's exponents run from -100 to 100 (a scene of one point has no extent at all)
    e = std::max(-100, std::min(100, e));
    const double scale = std::ldexp(1.0, -e);
    const std::uint32_t exponent = static_cast<std::uint32_t>(e) << 24;
    long long low[3], high[3];
    for (int k = 0; k < 3; ++k) low[k] = kMantissaMax, high[k] = -kMantissaMax;
    out.resize(offsets.size());
    for (size_t i = 0; i < offsets.size(); i += 3) {
        for (size_t k = 0; k < 3; ++k) {
            // Rounded half away from zero, as llround does, without its call per value
            const double x = offsets[i + k] * scale;
            const long long m = static_cast<long long>(x < 0.0 ? x - 0.5 : x + 0.5);
            low[k] = std::min(low[k], m), high[k] = std::max(high[k], m);
            out[i + k] = exponent | (static_cast<std::uint32_t>(m) & 0xFFFFFFu);
        }
    }
    for (int k = 0; k < 3; ++k) {
        lo[k] = static_cast<float>(std::ldexp(static_cast<double>(low[k]), e));
        hi[k] = static_cast<float>(std::ldexp(static_cast<double>(high[k]), e));
    }
}

std::uint32_t ColourKey(const std::array<std::uint8_t, 4>& c)
{
    return c[0] | (c[1] << 8) | (c[2] << 16) | (static_cast<std::uint32_t>(c[3]) << 24);
}

// A layer rarely has more colours than classes; past this many, one primitive with a colour per
// vertex costs less than a draw call per colour
constexpr size_t kMaxMaterials = 256;
// Indices of a primitive run from 0 to 65534: 65535 is the primitive restart value of WebGL 2,
// which glTF forbids in indices
constexpr size_t kChunkVertices = 65535;

// Part of a primitive kind (triangles or segments) in one colour, small enough for 16-bit
// indices: the scene vertices it uses in order, its elements as indices into them and the
// number of distinct features it shows
struct Chunk {
    std::uint32_t group = 0;
    std::vector<std::uint32_t> used;
    std::vector<std::uint16_t> indices;
    size_t features = 0;
};

// The scene's elements of per corners each, grouped by colour (one group when there are more
// colours than materials, then the vertices keep their colours) and cut into chunks
struct Split {
    std::vector<std::uint32_t> colours;
    bool vertexColours = false;
    std::vector<Chunk> chunks;

    Split(const std::vector<DemoVertex>& vertices, const std::vector<std::uint32_t>& indices, size_t per,
          size_t featureCount)
    {
        const size_t elements = indices.size() / per;
        // The corners of an element share its colour: the first one's stands for it
        std::vector<std::uint32_t> groupOf(elements);
        std::unordered_map<std::uint32_t, std::uint32_t> known;
        std::uint32_t lastKey = 0, lastGroup = 0;
        for (size_t e = 0; e < elements; ++e) {
            const std::uint32_t key = ColourKey(vertices[indices[e * per]].rgba);
            if (e == 0 || key != lastKey) {
                const auto found = known.emplace(key, static_cast<std::uint32_t>(colours.size()));
                if (found.second) colours.push_back(key);
                lastKey = key, lastGroup = found.first->second;
            }
            groupOf[e] = lastGroup;
        }
        vertexColours = colours.size() > kMaxMaterials;
        if (vertexColours) std::fill(groupOf.begin(), groupOf.end(), 0);
        const size_t groups = vertexColours ? 1 : colours.size();
        // Elements in group order, each group in scene order
        std::vector<std::uint32_t> start(groups + 1, 0), order(elements);
        for (std::uint32_t g : groupOf) ++start[g + 1];
        for (size_t g = 0; g < groups; ++g) start[g + 1] += start[g];
        {
            std::vector<std::uint32_t> next(start.begin(), start.end() - 1);
            for (size_t e = 0; e < elements; ++e) order[next[groupOf[e]]++] = static_cast<std::uint32_t>(e);
        }
        groupOf = std::vector<std::uint32_t>();
        // stamp tells which chunk a vertex was last taken into, local its index there
        std::vector<std::uint32_t> stamp(vertices.size(), 0), local(vertices.size(), 0);
        std::vector<std::uint32_t> featureStamp(featureCount, 0);
        for (size_t g = 0; g < groups; ++g) {
            Chunk* chunk = nullptr;
            for (std::uint32_t i = start[g]; i < start[g + 1]; ++i) {
                if (!chunk || chunk->used.size() + per > kChunkVertices) {
                    chunks.emplace_back();
                    chunk = &chunks.back();
                    chunk->group = static_cast<std::uint32_t>(g);
                }
                const std::uint32_t id = static_cast<std::uint32_t>(chunks.size());
                for (size_t k = 0; k < per; ++k) {
                    const std::uint32_t v = indices[order[i] * per + k];
                    if (stamp[v] != id) {
                        stamp[v] = id;
                        local[v] = static_cast<std::uint32_t>(chunk->used.size());
                        chunk->used.push_back(v);
                        const std::uint32_t feature = vertices[v].feature;
                        if (feature < featureCount && featureStamp[feature] != id) featureStamp[feature] = id, ++chunk->features;
                    }
                    chunk->indices.push_back(static_cast<std::uint16_t>(local[v]));
                }
            }
        }
    }
};

// Room for packing one primitive's attributes, reused from primitive to primitive
struct Packing {
    std::vector<double> offsets;
    std::vector<std::uint32_t> positions;
    std::vector<std::uint16_t> colours;
    std::vector<float> ids;
};

// The primitive of one chunk: positions (with their exact bounds), feature ids when the scene has
// a feature table, linear colours when its split keeps colours per vertex
void AddPrimitive(Builder& b, Packing& packing, DemoJson& primitives, const std::vector<DemoVertex>& vertices,
                  const Chunk& chunk, const double centre[3], bool featureIds, bool vertexColours, int material, int mode)
{
    const std::vector<std::uint32_t>& used = chunk.used;
    const size_t n = used.size();
    float lo[3], hi[3];
    PackPositions(vertices, used, centre, packing.offsets, packing.positions, lo, hi);
    const int pv = b.AddAttribute(packing.positions.data(), n, 12, "EXPONENTIAL");
    primitives.BeginObject().Key("attributes").BeginObject().Key("POSITION").Integer(b.AddAccessor(pv, kFloat, false, n, "VEC3", lo, hi));
    if (vertexColours) {
        packing.colours.resize(n * 4);
        for (size_t i = 0; i < n; ++i) {
            const DemoVertex& v = vertices[used[i]];
            for (size_t k = 0; k < 3; ++k) packing.colours[i * 4 + k] = LinearChannel(v.rgba[k]);
            packing.colours[i * 4 + 3] = static_cast<std::uint16_t>(v.rgba[3] * 257);
        }
        const int cv = b.AddAttribute(packing.colours.data(), n, 8);
        primitives.Key("COLOR_0").Integer(b.AddAccessor(cv, kUnsignedShort, true, n, "VEC4"));
    }
    if (featureIds) {
        // Float ids are exact up to 2^24 features; a 16-bit id would take as much room, since
        // every element of a vertex attribute starts on 4 bytes
        packing.ids.resize(n);
        for (size_t i = 0; i < n; ++i) packing.ids[i] = static_cast<float>(vertices[used[i]].feature);
        const int fv = b.AddAttribute(packing.ids.data(), n, 4);
        primitives.Key("_FEATURE_ID_0").Integer(b.AddAccessor(fv, kFloat, false, n, "SCALAR"));
    }
    const int iv = b.AddIndices(chunk.indices, n, mode == kModeTriangles);
    const int ia = b.AddAccessor(iv, kUnsignedShort, false, chunk.indices.size(), "SCALAR");
    primitives.EndObject().Key("indices").Integer(ia).Key("material").Integer(material).Key("mode").Integer(mode);
    if (featureIds) {
        primitives.Key("extensions").BeginObject().Key("EXT_mesh_features").BeginObject();
        primitives.Key("featureIds").BeginArray().BeginObject().Key("featureCount").Integer(static_cast<long long>(chunk.features));
        primitives.Key("attribute").Integer(0).Key("propertyTable").Integer(0).EndObject().EndArray();
        primitives.EndObject().EndObject();
    }
    primitives.EndObject();
}

// The materials of a split: one per colour, or a white one that the vertex colours tint
void AddMaterials(DemoJson& materials, const Split& split, const char* name, bool doubleSided)
{
    // Unlit: the map shows the legend's colours whatever the light; the PBR values are the
    // fallback of viewers without the extension
    auto material = [&](const double rgba[4]) {
        materials.BeginObject().Key("name").String(name).Key("pbrMetallicRoughness").BeginObject();
        materials.Key("baseColorFactor").BeginArray();
        for (int k = 0; k < 4; ++k) materials.Number(rgba[k]);
        materials.EndArray().Key("metallicFactor").Integer(0).Key("roughnessFactor").Integer(1).EndObject();
        materials.Key("extensions").BeginObject().Key("KHR_materials_unlit").BeginObject().EndObject().EndObject();
        if (doubleSided) materials.Key("doubleSided").Bool(true);
        materials.EndObject();
    };
    if (split.vertexColours) {
        const double white[4] = {1.0, 1.0, 1.0, 1.0};
        material(white);
        return;
    }
    for (std::uint32_t key : split.colours) {
        // Legends give screen (sRGB) colours, glTF factors are linear
        double rgba[4];
        for (int k = 0; k < 3; ++k) {
            const double c = static_cast<double>((key >> (8 * k)) & 0xFF) / 255.0;
            rgba[k] = c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
        }
        rgba[3] = static_cast<double>(key >> 24) / 255.0;
        material(rgba);
    }
}

// The feature table: one row per feature id, holding the feature's name
std::string FeatureTable(Builder& b, const std::vector<std::string>& names)
{
    std::string text;
    std::vector<std::uint32_t> offsets(1, 0);
    for (const std::string& name : names) {
        text += name;
        offsets.push_back(static_cast<std::uint32_t>(text.size()));
    }
    // A buffer view holds at least one byte; the offsets keep every name empty then
    if (text.empty()) text.push_back(' ');
    const int values = b.AddBytes(text.data(), text.size());
    const int starts = b.AddBytes(offsets.data(), offsets.size() * sizeof(std::uint32_t));
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

bool DemoGlbWriter::Stream(const DemoScene& scene, const Sink& sink)
{
    // The root node carries the scene's centre, so that the positions' grid (PackPositions)
    // follows the scene's extent rather than the Earth's radius: a tile keeps fine detail
    double lo[3] = {std::numeric_limits<double>::max(), std::numeric_limits<double>::max(), std::numeric_limits<double>::max()};
    double hi[3] = {-lo[0], -lo[1], -lo[2]};
    size_t total = 0;
    for (const auto* list : {&scene.GetVertices(), &scene.GetLineVertices()}) {
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

    // Every vertex names its feature when the scene has a feature table; the viewer picks by it
    const std::vector<std::string>& names = scene.GetFeatureNames();
    const bool featureIds = !names.empty();
    // Surfaces and lines in a primitive per colour and per 65,535 vertices, so that a vertex
    // carries only its position and feature and an index takes 2 bytes before compression.
    // Positions stay floats about the centre (the exponential filter decodes to float): 16-bit
    // positions (KHR_mesh_quantization) would need a node per few tens of kilometres to keep a
    // metre of precision. The compression is the one extension a viewer must read (the unlit
    // material and the feature ids are optional: without them a viewer lights the colours and
    // cannot pick)
    const Split triangles(scene.GetVertices(), scene.GetIndices(), 3, names.size());
    const Split lines(scene.GetLineVertices(), scene.GetLineIndices(), 2, names.size());
    Builder b;
    Packing packing;
    DemoJson primitives, materials;
    primitives.BeginArray();
    materials.BeginArray();
    AddMaterials(materials, triangles, "surfaces", true);
    const int lineMaterials = static_cast<int>(triangles.vertexColours ? 1 : triangles.colours.size());
    AddMaterials(materials, lines, "lines", false);
    for (const Chunk& chunk : triangles.chunks) {
        AddPrimitive(b, packing, primitives, scene.GetVertices(), chunk, centre, featureIds, triangles.vertexColours,
                     static_cast<int>(chunk.group), kModeTriangles);
    }
    for (const Chunk& chunk : lines.chunks) {
        AddPrimitive(b, packing, primitives, scene.GetLineVertices(), chunk, centre, featureIds, lines.vertexColours,
                     lineMaterials + static_cast<int>(chunk.group), kModeLines);
    }
    primitives.EndArray();
    materials.EndArray();
    const bool hasMesh = b.accessorCount > 0;

    std::string json = "{\"asset\":{\"version\":\"2.0\",\"generator\":\"t3d_demo\"},";
    if (hasMesh) {
        json += "\"extensionsUsed\":[\"KHR_materials_unlit\",\"EXT_meshopt_compression\"";
        if (featureIds) json += ",\"EXT_mesh_features\",\"EXT_structural_metadata\"";
        json += "],\"extensionsRequired\":[\"EXT_meshopt_compression\"],";
    }
    if (hasMesh && featureIds) json += "\"extensions\":{\"EXT_structural_metadata\":" + FeatureTable(b, names) + "},";
    json += "\"scene\":0,\"scenes\":[{\"nodes\":[0]}],\"nodes\":[{\"name\":\"layer\",\"translation\":[";
    DemoJson t;
    t.BeginArray().Number(centre[0]).Number(centre[1]).Number(centre[2]).EndArray();
    json += t.Text().substr(1, t.Text().size() - 2);
    json += "]";
    const size_t binSize = (b.binSize + 3) / 4 * 4;
    if (hasMesh) {
        json += ",\"mesh\":0}],\"meshes\":[{\"primitives\":" + primitives.Text() + "}],";
        json += "\"materials\":" + materials.Text() + ",";
        b.accessors.EndArray();
        b.views.EndArray();
        json += "\"accessors\":" + b.accessors.Text() + ",\"bufferViews\":" + b.views.Text() + ",";
        // The fallback buffer has no data: it only gives the decoded views their places
        json += "\"buffers\":[{\"byteLength\":" + std::to_string(binSize) + "},{\"byteLength\":" +
                std::to_string(b.fallbackSize) + ",\"extensions\":{\"EXT_meshopt_compression\":{\"fallback\":true}}}]}";
    } else {
        json += "}]}";
    }

    std::vector<std::uint8_t> head;
    std::vector<std::uint8_t> jsonBytes(json.begin(), json.end());
    Pad(jsonBytes, ' ');
    const size_t length = 12 + 8 + jsonBytes.size() + (hasMesh ? 8 + binSize : 0);
    // The container counts its length in 32 bits
    if (length > 0xFFFFFFFFu) return false;
    PutU32(head, kMagic);
    PutU32(head, 2);
    PutU32(head, static_cast<std::uint32_t>(length));
    PutU32(head, static_cast<std::uint32_t>(jsonBytes.size()));
    PutU32(head, kJsonChunk);
    sink(head.data(), head.size());
    sink(jsonBytes.data(), jsonBytes.size());
    if (!hasMesh) return true;
    head.clear();
    PutU32(head, static_cast<std::uint32_t>(binSize));
    PutU32(head, kBinChunk);
    sink(head.data(), head.size());
    static const std::uint8_t zeros[8] = {0, 0, 0, 0, 0, 0, 0, 0};
    size_t at = 0;
    for (const Builder::Piece& piece : b.pieces) {
        sink(zeros, piece.offset - at);
        sink(piece.bytes.data(), piece.bytes.size());
        at = piece.offset + piece.bytes.size();
    }
    sink(zeros, binSize - at);
    return true;
}

std::vector<std::uint8_t> DemoGlbWriter::Encode(const DemoScene& scene)
{
    std::vector<std::uint8_t> out;
    const bool ok = Stream(scene, [&out](const void* data, size_t size) {
        const auto* p = static_cast<const std::uint8_t*>(data);
        out.insert(out.end(), p, p + size);
    });
    if (!ok) out.clear();
    return out;
}

bool DemoGlbWriter::Write(const DemoScene& scene, DemoOutputFile& out, std::string& error)
{
    if (!out.Open(error)) return false;
    // Written a block at a time through a buffer of its own; the first failure is kept
    std::vector<std::uint8_t> buffer;
    buffer.reserve(kWriteBuffer);
    bool failed = false;
    auto flush = [&]() {
        if (!failed && !buffer.empty() && !out.Write(buffer.data(), buffer.size(), error)) failed = true;
        buffer.clear();
    };
    const bool fits = Stream(scene, [&](const void* data, size_t size) {
        const auto* p = static_cast<const std::uint8_t*>(data);
        while (size > 0) {
            const size_t n = std::min(size, kWriteBuffer - buffer.size());
            buffer.insert(buffer.end(), p, p + n);
            p += n, size -= n;
            if (buffer.size() == kWriteBuffer) flush();
        }
    });
    if (!fits) {
        error = "the scene for '" + out.GetPath() + "' is larger than a .glb file can hold (4 GiB)";
        return false;
    }
    flush();
    return !failed && out.Close(error);
}

} // namespace KRN
