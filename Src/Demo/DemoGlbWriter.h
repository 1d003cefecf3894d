#pragma once
// Writes a DemoScene as a glTF 2.0 binary file (.glb): indexed triangles and line segments in a
// primitive per colour, their vertices and indices compressed with EXT_meshopt_compression (a
// required extension: CesiumJS, three.js and Babylon.js read it). The compressed chunk is held
// until the file is written, the scene itself is not copied.
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "DemoOutput.h"
#include "DemoScene.h"

namespace KRN {

class DemoGlbWriter {
public:
    // Receives the file's bytes in order
    using Sink = std::function<void(const void*, size_t)>;
    // The whole file through sink; false (and nothing sent) when it would exceed 4 GiB
    static bool Stream(const DemoScene& scene, const Sink& sink);
    // The whole file: header, JSON chunk, BIN chunk; empty when it would exceed 4 GiB
    static std::vector<std::uint8_t> Encode(const DemoScene& scene);
    // Writes the file into out (opened here, closed by the caller's commit); false with a message
    static bool Write(const DemoScene& scene, DemoOutputFile& out, std::string& error);
};

} // namespace KRN
