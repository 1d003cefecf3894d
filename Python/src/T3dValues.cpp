#include "T3dValues.h"

#include <string>

#include "T3dPython.h"

namespace py = pybind11;

namespace t3dpy {

BSX::BsxVariant ToVariant(const py::handle& value)
{
    if (value.is_none()) return BSX::BsxVariant();
    if (py::isinstance<py::bool_>(value)) return BSX::BsxVariant(value.cast<bool>() ? 1 : 0);
    if (py::isinstance<py::int_>(value)) return BSX::BsxVariant(value.cast<long long>());
    if (py::isinstance<py::float_>(value)) return BSX::BsxVariant(value.cast<double>());
    // numpy scalars and the like: numbers when they say so, text otherwise
    if (py::hasattr(value, "dtype")) {
        const std::string kind = py::str(value.attr("dtype").attr("kind"));
        if (kind == "i" || kind == "u" || kind == "b") return BSX::BsxVariant(value.cast<long long>());
        if (kind == "f") return BSX::BsxVariant(value.cast<double>());
    }
    return BSX::BsxVariant(Wide(py::str(value).cast<std::string>()));
}

KRN::KrColorValue3D ToColour(const py::handle& value)
{
    const py::sequence s = py::reinterpret_borrow<py::sequence>(value);
    if (!py::isinstance<py::sequence>(value) || (s.size() != 3 && s.size() != 4))
        throw Error("a colour is (r, g, b) or (r, g, b, a) with components in 0..1");
    return KRN::KrColorValue3D(s[0].cast<double>(), s[1].cast<double>(), s[2].cast<double>(),
                               s.size() == 4 ? s[3].cast<double>() : 1.0);
}

py::tuple Rgba(const KRN::KrColorValue3D& colour) { return py::make_tuple(colour.r, colour.g, colour.b, colour.a); }

} // namespace t3dpy
