// Runs a fuzz target without libFuzzer: every file of the folders named on the command line,
// then generated junk (truncations and byte flips of each file, and fixed hostile texts).
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {
void Run(const std::string& input) { LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size()); }
} // namespace

int main(int argc, char** argv)
{
    std::vector<std::string> inputs = {
        "", "<", "<tdx:Theme3D>", "<tdx:Theme3D/>", "<?xml version='1.0'?><tdx:Theme3D><tdx:Type>999999999999</tdx:Type></tdx:Theme3D>",
        std::string(100000, '<'), "<a>" + std::string(5000, 'x') + "</a>", std::string("\0\xff\xfe<", 4),
    };
    int files = 0;
    for (int i = 1; i < argc; ++i) {
        std::error_code ec;
        if (!std::filesystem::is_directory(argv[i], ec)) continue;
        for (const auto& entry : std::filesystem::directory_iterator(argv[i], ec)) {
            std::ifstream in(entry.path(), std::ios::binary);
            std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
            inputs.push_back(text);
            ++files;
            for (std::size_t cut = 1; cut < text.size(); cut += 1 + text.size() / 17) inputs.push_back(text.substr(0, cut));
            std::string flipped = text;
            for (std::size_t k = 0; k < flipped.size(); k += 1 + flipped.size() / 23) flipped[k] = static_cast<char>(flipped[k] ^ 0x5A);
            inputs.push_back(flipped);
        }
    }
    for (const std::string& input : inputs) Run(input);
    std::printf("replayed %zu inputs from %d files\n", inputs.size(), files);
    return 0;
}
