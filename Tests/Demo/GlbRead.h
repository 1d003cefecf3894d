#pragma once
// Reads a .glb back as a viewer does: its JSON and its binary chunk, every view that
// EXT_meshopt_compression packs decoded with meshoptimizer (filters included) and appended to
// the chunk, that view then pointing at its decoded bytes as if the file had been written plain.
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include <meshoptimizer.h>
#include <nlohmann/json.hpp>

namespace t3d_test {

// Both empty when the file is malformed or a view does not decode
inline std::pair<nlohmann::json, std::string> ParseGlb(const std::string& b)
{
    auto u32 = [&b](size_t at) {
        std::uint32_t v = 0;
        std::memcpy(&v, b.data() + at, 4);
        return v;
    };
    if (b.size() < 28) return {};
    const std::uint32_t jsonLength = u32(12);
    if (20u + jsonLength + 8u > b.size()) return {};
    nlohmann::json doc = nlohmann::json::parse(b.substr(20, jsonLength), nullptr, false);
    std::string bin = b.substr(20 + jsonLength + 8);
    if (!doc.is_object()) return {};
    if (!doc.contains("bufferViews")) return {std::move(doc), std::move(bin)};
    for (nlohmann::json& view : doc["bufferViews"]) {
        if (!view.contains("extensions") || !view["extensions"].contains("EXT_meshopt_compression")) continue;
        const nlohmann::json packed = view["extensions"]["EXT_meshopt_compression"];
        const size_t count = packed["count"], stride = packed["byteStride"], from = packed.value("byteOffset", size_t(0));
        const size_t length = packed["byteLength"];
        if (from + length > bin.size()) return {};
        const auto* source = reinterpret_cast<const unsigned char*>(bin.data()) + from;
        std::string decoded(count * stride, '\0');
        const std::string mode = packed["mode"], filter = packed.value("filter", "NONE");
        int failed = 1;
        if (mode == "ATTRIBUTES") {
            failed = meshopt_decodeVertexBuffer(decoded.data(), count, stride, source, length);
            if (!failed && filter == "EXPONENTIAL") meshopt_decodeFilterExp(decoded.data(), count, stride);
            else if (!failed && filter != "NONE") failed = 1;
        } else if (mode == "TRIANGLES") {
            failed = meshopt_decodeIndexBuffer(decoded.data(), count, stride, source, length);
        } else if (mode == "INDICES") {
            failed = meshopt_decodeIndexSequence(decoded.data(), count, stride, source, length);
        }
        if (failed) return {};
        bin.resize((bin.size() + 7) / 8 * 8);
        view = {{"buffer", 0}, {"byteOffset", bin.size()}, {"byteLength", decoded.size()}};
        bin += decoded;
    }
    return {std::move(doc), std::move(bin)};
}

} // namespace t3d_test
