#pragma once
// Python values to the host's field values and colours, and back.
#include <pybind11/pybind11.h>

#include "BsxVariant.h"
#include "KrColorValue3D.h"

namespace t3dpy {

// None, bool, int, float, str (anything else is read as its str()) to a field value
BSX::BsxVariant ToVariant(const pybind11::handle& value);
// (r, g, b) or (r, g, b, a) in 0..1 to a colour; Error for anything else
KRN::KrColorValue3D ToColour(const pybind11::handle& value);
pybind11::tuple Rgba(const KRN::KrColorValue3D& colour);

} // namespace t3dpy
