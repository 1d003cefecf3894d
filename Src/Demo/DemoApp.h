#pragma once
// The demo host: loads the plug-in, reads the layer, and for every requested theme builds it,
// draws the layer with it and writes the scene, the theme document, the legend and the labels.
#include <string>

#include "DemoOptions.h"

namespace KRN {

class DemoApp {
public:
    // Runs everything; answers the process exit code (0 when every theme was drawn and written)
    static int Run(const DemoOptions& options);
};

} // namespace KRN
