// The module _t3d: the error type, then every binding area (generated list, see CMakeLists.txt).
#include <pybind11/pybind11.h>

#include "T3dPython.h"

namespace t3dpy {
void BindAll(pybind11::module_& module);
}

PYBIND11_MODULE(_t3d, module)
{
    module.doc() = "Thematic maps of 3D scenes: the TrTheme3DBase plug-in's themes, classifiers and tile drawing";
    pybind11::register_exception<t3dpy::Error>(module, "Error", PyExc_RuntimeError);
    t3dpy::BindAll(module);
}
