#include "DemoPlugin.h"

#include <dlfcn.h>

namespace KRN {

DemoPlugin::~DemoPlugin()
{
    delete m_factory;
    if (m_handle) dlclose(m_handle);
}

bool DemoPlugin::Load(const std::string& path, std::string& error)
{
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        const char* why = dlerror();
        error = "cannot load the theme plug-in '" + path + "': " + (why ? why : "unknown reason");
        return false;
    }
    void* entry = dlsym(handle, "CreateTheme3DFactory");
    if (!entry) {
        error = "the plug-in '" + path + "' has no CreateTheme3DFactory entry";
        dlclose(handle);
        return false;
    }
    // The entry point is a plain function; POSIX guarantees the object-to-function conversion
    auto create = reinterpret_cast<CreateTheme3DFactoryFn>(entry);
    KrTheme3DFactory* factory = create();
    if (!factory) {
        error = "the plug-in '" + path + "' gave no factory";
        dlclose(handle);
        return false;
    }
    delete m_factory;
    if (m_handle) dlclose(m_handle);
    m_handle = handle;
    m_factory = factory;
    return true;
}

} // namespace KRN
