#pragma once
// How every example of the guide starts: load the installed plug-in and take its factory.
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <memory>

#include "KrTheme3DFactory.h"

inline std::unique_ptr<KRN::KrTheme3DFactory> LoadThemeFactory()
{
    void* plugin = dlopen(T3D_PLUGIN, RTLD_NOW | RTLD_LOCAL);
    void* entry = plugin ? dlsym(plugin, "CreateTheme3DFactory") : nullptr;
    if (!entry) {
        std::fprintf(stderr, "cannot load %s: %s\n", T3D_PLUGIN, dlerror());
        std::exit(1);
    }
    return std::unique_ptr<KRN::KrTheme3DFactory>(reinterpret_cast<KRN::CreateTheme3DFactoryFn>(entry)());
}

// A new theme of class T; the factory creates the class that the type code names
template <class T>
std::unique_ptr<T> NewTheme(KRN::KrTheme3DFactory& factory, KRN::KrTheme3D::KrTheme3DType code)
{
    return std::unique_ptr<T>(static_cast<T*>(factory.NewTheme3D(code)));
}
