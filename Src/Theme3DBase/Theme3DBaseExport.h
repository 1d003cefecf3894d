#pragma once
// Symbols of the module are hidden unless marked; the public classes carry this mark.
#if defined(_WIN32)
#define TR_THEME3D_API __declspec(dllexport)
#else
#define TR_THEME3D_API __attribute__((visibility("default")))
#endif
