// The demo host program: real vector data in, themed 3D scenes out.
#include <csignal>
#include <cstdio>
#include <exception>
#include <string>

#include "DemoApp.h"
#include "DemoOptions.h"

int main(int argc, char** argv)
{
    // A file-size limit then fails the write with its reason instead of killing the process
    std::signal(SIGXFSZ, SIG_IGN);
    KRN::DemoOptions options;
    options.pluginPath = T3D_DEMO_PLUGIN;
    std::string error;
    if (!options.Parse(argc, argv, error)) {
        // One line with the reason; the whole usage would bury it
        std::fprintf(stderr, "t3d_demo: %s (t3d_demo --help lists the options)\n", error.c_str());
        return 1;
    }
    if (options.help) {
        std::printf("%s", KRN::DemoOptions::Usage().c_str());
        return 0;
    }
    if (options.dataPath.empty()) options.dataPath = T3D_DEMO_DATA;
    try {
        return KRN::DemoApp::Run(options);
    } catch (const std::exception& e) {
        // Out of memory or a host container's range check: report it instead of aborting
        std::fprintf(stderr, "t3d_demo: %s\n", e.what());
        return 4;
    }
}
