// The five kinds of theme: created and cloned by the plug-in's factory, their main properties,
// and their documents.
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <pybind11/stl.h>

#include "KrTheme3DCustom.h"
#include "KrTheme3DGraph.h"
#include "KrTheme3DLabel.h"
#include "KrTheme3DRange.h"
#include "KrTheme3DUnique.h"
#include "T3dPython.h"
#include "T3dValues.h"

namespace py = pybind11;
using namespace KRN;

namespace t3dpy {
namespace {

// The format version written when the caller names none: the newest the module writes
constexpr int kDefaultVersion = 20120328;

const char* const kKindNames[] = {"", "unique", "range", "label", "graph", "custom"};

} // namespace

int KindCode(const py::handle& kind)
{
    if (py::isinstance<py::int_>(kind)) return kind.cast<int>();
    const std::string name = kind.cast<std::string>();
    for (int code = 1; code <= 5; ++code)
        if (name == kKindNames[code]) return code;
    throw Error("unknown theme kind '" + name + "' (unique, range, label, graph, custom or 1 to 5)");
}

namespace {

std::unique_ptr<KrTheme3D> NewTheme(const py::object& kind)
{
    const int code = KindCode(kind);
    const LogMark mark;
    std::unique_ptr<KrTheme3D> theme(Factory().NewTheme3D(code));
    if (!theme) mark.Fail("the factory makes no theme of kind " + std::to_string(code));
    return theme;
}

std::unique_ptr<KrTheme3D> Clone(KrTheme3D& theme)
{
    const LogMark mark;
    std::unique_ptr<KrTheme3D> copy(Factory().CloneTheme3D(&theme));
    if (!copy) mark.Fail("the factory could not clone the theme");
    return copy;
}

std::string ToXml(const KrTheme3D& theme, int version, const std::string& path)
{
    const LogMark mark;
    const BSX::BsxUnicodeString xml = theme.ToXML(version, Wide(path));
    if (xml.IsEmpty()) mark.Fail("the theme has no document of version " + std::to_string(version));
    return Utf8(xml);
}

void FromXml(KrTheme3D& theme, const std::string& xml, int version, const std::string& path)
{
    const LogMark mark;
    if (!theme.FromXML(Wide(xml), version, Wide(path)))
        mark.Fail(std::string("the document is not a readable ") + kKindNames[theme.GetType()] + " theme");
}

// The kind a document names in its "tdx:Type" element; 0 when it names none
int DocumentKind(const std::string& xml)
{
    const std::string tag = "<tdx:Type>";
    const size_t at = xml.find(tag);
    if (at == std::string::npos) return 0;
    return std::atoi(xml.c_str() + at + tag.size());
}

std::unique_ptr<KrTheme3D> ThemeFromXml(const std::string& xml, int version, const std::string& path)
{
    const int kind = DocumentKind(xml);
    if (kind < 1 || kind > 5) throw Error("the document names no theme kind (tdx:Type 1 to 5)");
    std::unique_ptr<KrTheme3D> theme = NewTheme(py::int_(kind));
    FromXml(*theme, xml, version, path);
    return theme;
}

py::object StyleFor(const KrTheme3D& theme, const py::handle& value)
{
    const KrStyle* style = theme.FindStyle(ToVariant(value));
    if (!style) return py::none();
    return Rgba(style->GetFillColor());
}

KrTheme3DItem Item(const std::string& caption, const py::object& fill, bool visible)
{
    KrTheme3DItem item;
    item.Caption = Wide(caption);
    item.Visible = visible;
    if (!fill.is_none()) item.Style.SetFillColor(ToColour(fill));
    return item;
}

template <class Kind>
std::vector<std::string> Captions(const Kind& theme)
{
    std::vector<std::string> out;
    for (int i = 0; i < theme.GetCount(); ++i) out.push_back(Utf8(theme.GetCaptionAt(i)));
    return out;
}

template <class Kind>
std::vector<py::tuple> Fills(const Kind& theme)
{
    std::vector<py::tuple> out;
    for (int i = 0; i < theme.GetCount(); ++i) out.push_back(Rgba(theme.GetStyleAt(i).GetFillColor()));
    return out;
}

// The custom theme's twenty properties by the names its document uses
struct CustomProperty {
    const char* name;
    BSX::BsxUnicodeString KrTheme3DCustom::*member;
};
const CustomProperty kCustomProperties[] = {
    {"AltitudeMode", &KrTheme3DCustom::AltitudeMode}, {"BottomAltitude", &KrTheme3DCustom::BottomAltitude},
    {"ExtendHeight", &KrTheme3DCustom::ExtendHeight}, {"BillboardMode", &KrTheme3DCustom::BillboardMode},
    {"MarkerStyle", &KrTheme3DCustom::MarkerStyle},   {"IconName", &KrTheme3DCustom::IconName},
    {"IconScale", &KrTheme3DCustom::IconScale},       {"ColorPoint", &KrTheme3DCustom::ColorPoint},
    {"LineStyle", &KrTheme3DCustom::LineStyle},       {"LineWidth", &KrTheme3DCustom::LineWidth},
    {"LineColor", &KrTheme3DCustom::LineColor},       {"FillStyle", &KrTheme3DCustom::FillStyle},
    {"Fill3DMode", &KrTheme3DCustom::Fill3DMode},     {"FillForeColor", &KrTheme3DCustom::FillForeColor},
    {"ScaleX", &KrTheme3DCustom::ScaleX},             {"ScaleY", &KrTheme3DCustom::ScaleY},
    {"ScaleZ", &KrTheme3DCustom::ScaleZ},             {"RotateX", &KrTheme3DCustom::RotateX},
    {"RotateY", &KrTheme3DCustom::RotateY},           {"RotateZ", &KrTheme3DCustom::RotateZ},
};

BSX::BsxUnicodeString& CustomMember(KrTheme3DCustom& theme, const std::string& name)
{
    for (const CustomProperty& p : kCustomProperties)
        if (name == p.name) return theme.*p.member;
    throw Error("the custom theme has no property '" + name + "'");
}

} // namespace

void BindThemes(py::module_& m)
{
    py::class_<KrTheme3D, std::unique_ptr<KrTheme3D>>(m, "Theme", "A theme made by the plug-in's factory")
        .def_property_readonly("kind", [](const KrTheme3D& t) { return static_cast<int>(t.GetType()); },
                               "Type code: 1 unique, 2 range, 3 label, 4 graph, 5 custom")
        .def_property_readonly("kind_name", [](const KrTheme3D& t) { return std::string(kKindNames[t.GetType()]); })
        .def_property_readonly("expression", [](const KrTheme3D& t) { return Utf8(t.GetExpression()); })
        .def("field_name", [](const KrTheme3D& t, bool alias) { return Utf8(t.GetFieldName(alias)); },
             py::arg("alias") = false, "The theme's query field; with alias, the expression aliased to it")
        .def("query_fields", [](KrTheme3D& t, bool alias) {
            BSX::BsxArray<BSX::BsxUnicodeString> fields;
            std::vector<std::string> out;
            if (t.GetThemeQueryDef(fields, alias))
                for (int i = 0; i < fields.GetSize(); ++i) out.push_back(Utf8(fields[i]));
            return out;
        }, py::arg("alias") = true, "The fields a host must query to draw with the theme")
        .def("style_for", &StyleFor, py::arg("value"),
             "Fill colour (r, g, b, a in 0..1) of the style the theme answers for a field value, None when it hides it")
        .def("to_xml", &ToXml, py::arg("version") = kDefaultVersion, py::arg("path") = "",
             "The theme's document; icon paths are made relative to path")
        .def("from_xml", &FromXml, py::arg("xml"), py::arg("version") = kDefaultVersion, py::arg("path") = "",
             "Replaces the theme's state by a document of its kind")
        .def("clone", [](KrTheme3D& t) { return Clone(t).release(); }, py::return_value_policy::take_ownership,
             "A deep copy made by the factory")
        .def("refresh", [](KrTheme3D& t) { t.PrepareTheme(); t.UpdateTheme(); },
             "Runs the refresh cycle, so that drawing reads the edited state");

    py::class_<KrTheme3DUnique, KrTheme3D, std::unique_ptr<KrTheme3DUnique>>(m, "UniqueTheme")
        .def_property("expression", [](const KrTheme3DUnique& t) { return Utf8(t.GetExpression()); },
                      [](KrTheme3DUnique& t, const std::string& e) { t.SetExpression(Wide(e)); })
        .def("add", [](KrTheme3DUnique& t, const std::string& value, const std::string& caption,
                       const py::object& fill, bool visible) {
            if (!t.Add(Wide(value), Item(caption, fill, visible))) throw Error("the value '" + value + "' has an item already");
        }, py::arg("value"), py::arg("caption") = "", py::arg("fill") = py::none(), py::arg("visible") = true)
        .def("__len__", &KrTheme3DUnique::GetCount)
        .def_property_readonly("values", [](const KrTheme3DUnique& t) {
            std::vector<std::string> out;
            for (int i = 0; i < t.GetCount(); ++i) out.push_back(Utf8(t.GetValueAt(i)));
            return out;
        })
        .def_property_readonly("captions", &Captions<KrTheme3DUnique>)
        .def_property_readonly("fills", &Fills<KrTheme3DUnique>)
        .def_property("default_fill", [](const KrTheme3DUnique& t) { return Rgba(t.GetDefaultStyle().GetFillColor()); },
                      [](KrTheme3DUnique& t, const py::object& fill) {
                          KrStyle style = t.GetDefaultStyle();
                          style.SetFillColor(ToColour(fill));
                          t.SetDefaultStyle(style);
                      });

    py::class_<KrTheme3DRange, KrTheme3D, std::unique_ptr<KrTheme3DRange>>(m, "RangeTheme")
        .def_property("expression", [](const KrTheme3DRange& t) { return Utf8(t.GetExpression()); },
                      [](KrTheme3DRange& t, const std::string& e) { t.SetExpression(Wide(e)); })
        .def("add", [](KrTheme3DRange& t, double value, const std::string& caption, const py::object& fill,
                       bool visible) { t.Add(value, Item(caption, fill, visible)); },
             py::arg("value"), py::arg("caption") = "", py::arg("fill") = py::none(), py::arg("visible") = true,
             "Appends a break with its item")
        .def("make_default", [](KrTheme3DRange& t, int method, int count, const std::vector<double>& values,
                                double interval) {
            BSX::BsxArray<double> data, quantiles;
            for (double v : values) data.Add(v);
            if (method == Class3DQuantile) quantiles = KrTheme3DRange::QuantileBreaks(data, count);
            const LogMark mark;
            if (!t.MakeDefault(method, count, data, quantiles, interval))
                mark.Fail("the values cannot be classified into " + std::to_string(count) + " classes by method " +
                          std::to_string(method));
        }, py::arg("method"), py::arg("count"), py::arg("values"), py::arg("interval") = 0.0,
             "Empties the theme and classifies ascending values by one of the theme's methods 0 to 5")
        .def("__len__", &KrTheme3DRange::GetCount)
        .def_property_readonly("breaks", [](const KrTheme3DRange& t) {
            std::vector<double> out;
            for (int i = 0; i < t.GetValueCount(); ++i) out.push_back(t.GetValueAt(i));
            return out;
        })
        .def_property_readonly("captions", &Captions<KrTheme3DRange>)
        .def_property_readonly("fills", &Fills<KrTheme3DRange>)
        .def_property_readonly("method", [](const KrTheme3DRange& t) { return static_cast<int>(t.GetClassType()); });

    py::class_<KrTheme3DLabel, KrTheme3D, std::unique_ptr<KrTheme3DLabel>>(m, "LabelTheme")
        .def_property("expression", [](const KrTheme3DLabel& t) { return Utf8(t.GetExpression()); },
                      [](KrTheme3DLabel& t, const std::string& e) { t.SetExpression(Wide(e)); })
        .def_property("number_format", [](const KrTheme3DLabel& t) { return Utf8(t.GetNumFormat()); },
                      [](KrTheme3DLabel& t, const std::string& f) {
                          const LogMark mark;
                          t.SetNumFormat(Wide(f));
                          if (!f.empty() && f != "%" && t.GetNumFormat().IsEmpty())
                              mark.Fail("'" + f + "' cannot format a number");
                      });

    py::class_<KrTheme3DGraph, KrTheme3D, std::unique_ptr<KrTheme3DGraph>>(m, "GraphTheme")
        .def("add", [](KrTheme3DGraph& t, const std::string& e) { return t.Add(Wide(e)); }, py::arg("expression"),
             "Adds a chart series for a numeric expression; answers the series count")
        .def("__len__", &KrTheme3DGraph::GetCount)
        .def_property_readonly("expressions", [](const KrTheme3DGraph& t) {
            std::vector<std::string> out;
            for (int i = 0; i < t.GetCount(); ++i) out.push_back(Utf8(t.GetExpressionAt(i)));
            return out;
        })
        .def_property("graph_type", &KrTheme3DGraph::GetGraphType, &KrTheme3DGraph::SetGraphType,
                      "4 bars, 6 pie, 12 stacked bars")
        .def_property("bar_width", &KrTheme3DGraph::GetBarWidth, &KrTheme3DGraph::SetBarWidth)
        .def_property("min_size", &KrTheme3DGraph::GetMinSumSize, &KrTheme3DGraph::SetMinSumSize)
        .def_property("max_size", &KrTheme3DGraph::GetMaxSumSize, &KrTheme3DGraph::SetMaxSumSize);

    py::class_<KrTheme3DCustom, KrTheme3D, std::unique_ptr<KrTheme3DCustom>>(m, "CustomTheme")
        .def("__getitem__", [](KrTheme3DCustom& t, const std::string& name) { return Utf8(CustomMember(t, name)); })
        .def("__setitem__", [](KrTheme3DCustom& t, const std::string& name, const std::string& expression) {
            CustomMember(t, name) = Wide(expression);
        })
        .def_property_readonly("properties", [](const KrTheme3DCustom& t) {
            py::dict out;
            for (const CustomProperty& p : kCustomProperties) out[p.name] = Utf8(t.*p.member);
            return out;
        }, "The twenty property expressions by name (empty: the property is left alone)");

    // Themes reach Python as plain pointers it takes over: pybind11 then makes the holder of the
    // theme's own kind from the pointer, where it would reuse a holder of the base class as is
    m.def("new_theme", [](const py::object& kind) { return NewTheme(kind).release(); },
          py::return_value_policy::take_ownership, py::arg("kind"),
          "An empty theme from the plug-in's factory: kind is a name (unique, range, label, graph, custom) or code 1-5");
    m.def("theme_from_xml", [](const std::string& xml, int version, const std::string& path) {
        return ThemeFromXml(xml, version, path).release();
    }, py::return_value_policy::take_ownership, py::arg("xml"), py::arg("version") = kDefaultVersion, py::arg("path") = "",
          "A theme of the kind the document names, read from it");
}

} // namespace t3dpy
