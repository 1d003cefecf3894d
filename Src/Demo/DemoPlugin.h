#pragma once
// The theme plug-in loaded by path, as the scene engine loads it, and the factory it hands out.
#include <string>

#include "KrTheme3DFactory.h"

namespace KRN {

class DemoPlugin {
public:
    DemoPlugin() = default;
    DemoPlugin(const DemoPlugin&) = delete;
    DemoPlugin& operator=(const DemoPlugin&) = delete;
    // Releases the factory, then the library; themes from the factory must be gone by then
    ~DemoPlugin();

    // dlopen (RTLD_NOW) the file, take CreateTheme3DFactory and call it.
    // False with a message when the file, the entry point or the factory is missing.
    bool Load(const std::string& path, std::string& error);
    KrTheme3DFactory* GetFactory() const { return m_factory; }

private:
    void* m_handle = nullptr;
    KrTheme3DFactory* m_factory = nullptr;
};

} // namespace KRN
