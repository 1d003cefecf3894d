#include "DemoGlbWriter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <unordered_map>

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

// One buffer view of the BIN chunk: its place, and how to write its bytes when the file is
// streamed (the bytes are packed from the scene then, a block at a time, never held whole)
struct Section {
    size_t offset = 0, size = 0;
    using Function = std::function<void(const Sink&)>;
    Function write;
};

class Builder {
public:
    DemoJson views, accessors;
    std::vector<Section> sections;
    size_t binSize = 0;
    int viewCount = 0, accessorCount = 0;

    Builder()
    {
        views.BeginArray();
        accessors.BeginArray();
    }

    // A buffer view of size bytes that write produces; target 0 for data that is not vertex data
    // (feature tables, which start on 8 bytes)
    int AddView(size_t size, int target, Section::Function write)
    {
        binSize = (binSize + (target ? 3 : 7)) / (target ? 4 : 8) * (target ? 4 : 8);
        sections.push_back(Section{binSize, size, std::move(write)});
        views.BeginObject().Key("buffer").Integer(0).Key("byteOffset").Integer(static_cast<long long>(binSize));
        views.Key("byteLength").Integer(static_cast<long long>(size));
        if (target) views.Key("target").Integer(target);
        views.EndObject();
        binSize += size;
        return viewCount++;
    }

    // A view over bytes that already exist and outlive the writing
    int AddBytes(const void* data, size_t size)
    {
        return AddView(size, 0, [data, size](const Sink& sink) { sink(data, size); });
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
};

// Packs a vertex attribute of the vertices a primitive uses, a block at a time, into a small
// buffer and hands each block on, so that the file is written without a packed copy of the scene
template <typename T, size_t N, typename Fill>
void Stream(const std::vector<DemoVertex>& vertices, const std::vector<std::uint32_t>& used, const Sink& sink,
            Fill fill)
{
    constexpr size_t kBlock = 4096;
    std::array<T, kBlock * N> block;
    for (size_t first = 0; first < used.size(); first += kBlock) {
        const size_t count = std::min(kBlock, used.size() - first);
        for (size_t i = 0; i < count; ++i) fill(vertices[used[first + i]], &block[i * N]);
        sink(block.data(), count * N * sizeof(T));
    }
}

void Position(const DemoVertex& v, const double centre[3], float out[3])
{
    double pos[3];
    GltfAxes(v.x, v.y, v.z, pos);
    for (int k = 0; k < 3; ++k) out[k] = static_cast<float>(pos[k] - centre[k]);
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
// indices: the scene vertices it uses in order, its elements as indices into them, the bounds
// of its positions and the number of distinct features it shows
struct Chunk {
    std::uint32_t group = 0;
    std::vector<std::uint32_t> used;
    std::vector<std::uint16_t> indices;
    float lo[3], hi[3];
    size_t features = 0;
};

// The scene's elements of per corners each, grouped by colour (one group when there are more
// colours than materials, then the vertices keep their colours) and cut into chunks
struct Split {
    std::vector<std::uint32_t> colours;
    bool vertexColours = false;
    std::vector<Chunk> chunks;

    Split(const std::vector<DemoVertex>& vertices, const std::vector<std::uint32_t>& indices, size_t per,
          const double centre[3], size_t featureCount)
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
                    for (int k = 0; k < 3; ++k) chunk->lo[k] = std::numeric_limits<float>::max(), chunk->hi[k] = -chunk->lo[k];
                }
                const std::uint32_t id = static_cast<std::uint32_t>(chunks.size());
                for (size_t k = 0; k < per; ++k) {
                    const std::uint32_t v = indices[order[i] * per + k];
                    if (stamp[v] != id) {
                        stamp[v] = id;
                        local[v] = static_cast<std::uint32_t>(chunk->used.size());
                        chunk->used.push_back(v);
                        float p[3];
                        Position(vertices[v], centre, p);
                        for (int c = 0; c < 3; ++c) chunk->lo[c] = std::min(chunk->lo[c], p[c]), chunk->hi[c] = std::max(chunk->hi[c], p[c]);
                        const std::uint32_t feature = vertices[v].feature;
                        if (feature < featureCount && featureStamp[feature] != id) featureStamp[feature] = id, ++chunk->features;
                    }
                    chunk->indices.push_back(static_cast<std::uint16_t>(local[v]));
                }
            }
        }
    }
};

// The primitive of one chunk: positions (with their exact bounds), feature ids when the scene has
// a feature table, linear colours when its split keeps colours per vertex
void AddPrimitive(Builder& b, DemoJson& primitives, const std::vector<DemoVertex>& vertices, const Chunk& chunk,
                  const double centre[3], bool featureIds, bool vertexColours, int material, int mode)
{
    const double origin[3] = {centre[0], centre[1], centre[2]};
    const std::vector<std::uint32_t>& used = chunk.used;
    const size_t n = used.size();
    const int pv = b.AddView(n * 12, kArrayBuffer, [&vertices, &used, origin](const Sink& sink) {
        Stream<float, 3>(vertices, used, sink, [&origin](const DemoVertex& v, float* out) { Position(v, origin, out); });
    });
    const int pa = b.AddAccessor(pv, kFloat, false, n, "VEC3", chunk.lo, chunk.hi);
    primitives.BeginObject().Key("attributes").BeginObject().Key("POSITION").Integer(pa);
    if (vertexColours) {
        const int cv = b.AddView(n * 8, kArrayBuffer, [&vertices, &used](const Sink& sink) {
            Stream<std::uint16_t, 4>(vertices, used, sink, [](const DemoVertex& v, std::uint16_t* out) {
                for (size_t k = 0; k < 3; ++k) out[k] = LinearChannel(v.rgba[k]);
                out[3] = static_cast<std::uint16_t>(v.rgba[3] * 257);
            });
        });
        primitives.Key("COLOR_0").Integer(b.AddAccessor(cv, kUnsignedShort, true, n, "VEC4"));
    }
    if (featureIds) {
        // Float ids are exact up to 2^24 features; a 16-bit id would take as much room, since
        // every element of a vertex attribute starts on 4 bytes
        const int fv = b.AddView(n * 4, kArrayBuffer, [&vertices, &used](const Sink& sink) {
            Stream<float, 1>(vertices, used, sink, [](const DemoVertex& v, float* out) { out[0] = static_cast<float>(v.feature); });
        });
        primitives.Key("_FEATURE_ID_0").Integer(b.AddAccessor(fv, kFloat, false, n, "SCALAR"));
    }
    const std::vector<std::uint16_t>& indices = chunk.indices;
    const int iv = b.AddView(indices.size() * 2, kElementArrayBuffer,
                             [&indices](const Sink& sink) { sink(indices.data(), indices.size() * 2); });
    const int ia = b.AddAccessor(iv, kUnsignedShort, false, indices.size(), "SCALAR");
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
std::string FeatureTable(Builder& b, const std::vector<std::string>& names, std::string& text,
                         std::vector<std::uint32_t>& offsets)
{
    offsets.assign(1, 0);
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
    // The root node carries the scene's centre so that float positions stay within a few
    // kilometres of precision loss at worst, instead of metres at the Earth's radius
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
    // carries only its position and feature (16 bytes) and an index takes 2 bytes. Positions stay
    // 32-bit floats about the centre: 16-bit positions would need a node per few tens of
    // kilometres to keep a metre of precision, and no extension is required of a viewer (the
    // unlit material and the feature ids are optional: without them a viewer lights the colours
    // and cannot pick)
    const Split triangles(scene.GetVertices(), scene.GetIndices(), 3, centre, names.size());
    const Split lines(scene.GetLineVertices(), scene.GetLineIndices(), 2, centre, names.size());
    Builder b;
    DemoJson primitives, materials;
    primitives.BeginArray();
    materials.BeginArray();
    AddMaterials(materials, triangles, "surfaces", true);
    const int lineMaterials = static_cast<int>(triangles.vertexColours ? 1 : triangles.colours.size());
    AddMaterials(materials, lines, "lines", false);
    for (const Chunk& chunk : triangles.chunks) {
        AddPrimitive(b, primitives, scene.GetVertices(), chunk, centre, featureIds, triangles.vertexColours,
                     static_cast<int>(chunk.group), kModeTriangles);
    }
    for (const Chunk& chunk : lines.chunks) {
        AddPrimitive(b, primitives, scene.GetLineVertices(), chunk, centre, featureIds, lines.vertexColours,
                     lineMaterials + static_cast<int>(chunk.group), kModeLines);
    }
    primitives.EndArray();
    materials.EndArray();
    const bool hasMesh = b.accessorCount > 0;

    std::string json = "{\"asset\":{\"version\":\"2.0\",\"generator\":\"t3d_demo\"},";
    if (hasMesh) {
        json += "\"extensionsUsed\":[\"KHR_materials_unlit\"";
        if (featureIds) json += ",\"EXT_mesh_features\",\"EXT_structural_metadata\"";
        json += "],";
    }
    std::string tableText;
    std::vector<std::uint32_t> tableOffsets;
    if (hasMesh && featureIds)
        json += "\"extensions\":{\"EXT_structural_metadata\":" + FeatureTable(b, names, tableText, tableOffsets) + "},";
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
        json += "\"buffers\":[{\"byteLength\":" + std::to_string(binSize) + "}]}";
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
    for (const Section& section : b.sections) {
        sink(zeros, section.offset - at);
        section.write(sink);
        at = section.offset + section.size;
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
