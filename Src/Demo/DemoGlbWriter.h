#pragma once
// Writes a DemoScene as a glTF 2.0 binary file (.glb).
#include <cstdint>
#include <string>
#include <vector>

#include "DemoScene.h"

namespace KRN {

class DemoGlbWriter {
public:
    // The whole file: header, JSON chunk, BIN chunk; empty when it would exceed 4 GiB
    static std::vector<std::uint8_t> Encode(const DemoScene& scene);
    // False with a message when the file cannot be written
    static bool Write(const DemoScene& scene, const std::string& path, std::string& error);
};

} // namespace KRN
