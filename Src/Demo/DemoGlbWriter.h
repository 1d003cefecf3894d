#pragma once
// Writes a DemoScene as a glTF 2.0 binary file (.glb).
#include <cstdint>
#include <string>
#include <vector>

#include "DemoOutput.h"
#include "DemoScene.h"

namespace KRN {

class DemoGlbWriter {
public:
    // The whole file: header, JSON chunk, BIN chunk; empty when it would exceed 4 GiB
    static std::vector<std::uint8_t> Encode(const DemoScene& scene);
    // Writes the file into out (opened here, closed by the caller's commit); false with a message
    static bool Write(const DemoScene& scene, DemoOutputFile& out, std::string& error);
};

} // namespace KRN
