// Layers of features handed over from Python, themes built for them as the demo host builds
// them, and one tile of them drawn into a glTF binary with what a tileset needs to know of it.
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include "DemoDrawer.h"
#include "DemoGlbWriter.h"
#include "DemoLayer.h"
#include "DemoPreparedLayer.h"
#include "DemoScene.h"
#include "DemoThemeBuilder.h"
#include "DemoTileset.h"
#include "KrClassifier.h"
#include "KrGeometry.h"
#include "T3dPython.h"
#include "T3dValues.h"

namespace py = pybind11;
using namespace KRN;

namespace t3dpy {
namespace {

using Coords = py::array_t<double, py::array::c_style | py::array::forcecast>;
using Offsets = py::array_t<std::int64_t, py::array::c_style | py::array::forcecast>;

// A layer as the demo's drawing code holds it, with the surfaces of its regions made once
struct Layer {
    DemoLayer layer;
    DemoPreparedLayer prepared;
    std::vector<long long> ids;
};

int GeometryCode(const std::string& geometry, bool threeD)
{
    int code = 0;
    if (geometry == "polygon") code = KrGeometry::GEO_REGION;
    else if (geometry == "line") code = KrGeometry::GEO_LINE;
    else if (geometry == "point") code = KrGeometry::GEO_POINT;
    else throw Error("unknown geometry '" + geometry + "' (polygon, line or point)");
    return threeD ? code + 100 : code;
}

// Offsets must start at 0, never decrease and end at the size of what they index
std::vector<std::int64_t> CheckedOffsets(const Offsets& array, std::int64_t total, const char* what)
{
    std::vector<std::int64_t> out(array.data(), array.data() + array.size());
    bool ok = !out.empty() && out.front() == 0 && out.back() == total;
    for (size_t i = 1; ok && i < out.size(); ++i) ok = out[i] >= out[i - 1];
    if (!ok) throw Error(std::string("the ") + what + " offsets must run from 0 up to " + std::to_string(total));
    return out;
}

// A column's values as field values, and the field kind they make together: integers, then
// reals when any value is a real, text when any is neither; None is a null value of any kind
DemoFieldKind Column(const py::handle& column, std::vector<BSX::BsxVariant>& values)
{
    const py::object items = py::hasattr(column, "tolist") ? column.attr("tolist")() : py::reinterpret_borrow<py::object>(column);
    bool anyReal = false, anyText = false;
    for (const py::handle& v : items) {
        values.push_back(ToVariant(v));
        const auto type = values.back().GetType();
        anyReal = anyReal || type == BSX::BsxVariant::VT_DOUBLE;
        anyText = anyText || type == BSX::BsxVariant::VT_STRING;
    }
    if (anyText) return DemoFieldKind::Text;
    if (!anyReal) return DemoFieldKind::Integer64;
    for (auto& v : values)
        if (v.GetType() == BSX::BsxVariant::VT_INT64) v = BSX::BsxVariant(static_cast<double>(v.GetInt64()));
    return DemoFieldKind::Real;
}

std::unique_ptr<Layer> MakeLayer(const std::string& geometry, const Coords& coords, const Offsets& ringOffsets,
                                 const Offsets& partOffsets, const Offsets& featureOffsets, const py::dict& fields,
                                 const py::object& ids, const py::object& anchors, const std::string& name)
{
    if (coords.ndim() != 2 || (coords.shape(1) != 2 && coords.shape(1) != 3))
        throw Error("the coordinates must be an array of (longitude, latitude[, height]) rows");
    const bool threeD = coords.shape(1) == 3;
    const int code = GeometryCode(geometry, threeD);
    const auto rings = CheckedOffsets(ringOffsets, coords.shape(0), "ring");
    const auto parts = CheckedOffsets(partOffsets, static_cast<std::int64_t>(rings.size()) - 1, "part");
    const auto features = CheckedOffsets(featureOffsets, static_cast<std::int64_t>(parts.size()) - 1, "feature");
    const size_t count = features.size() - 1;

    auto out = std::make_unique<Layer>();
    DemoLayer& layer = out->layer;
    layer.name = name;
    if (ids.is_none()) {
        for (size_t i = 0; i < count; ++i) out->ids.push_back(static_cast<long long>(i));
    } else {
        out->ids = ids.cast<std::vector<long long>>();
        if (out->ids.size() != count) throw Error("there must be one id per feature");
    }
    std::vector<std::vector<BSX::BsxVariant>> columns;
    std::vector<BSX::BsxUnicodeString> names;
    for (const auto& item : fields) {
        DemoField field;
        field.name = py::str(item.first);
        columns.emplace_back();
        field.kind = Column(item.second, columns.back());
        if (columns.back().size() != count) throw Error("the field '" + field.name + "' must have one value per feature");
        names.push_back(Wide(field.name));
        layer.fields.push_back(field);
    }

    const auto xyz = coords.unchecked<2>();
    const size_t minPoints = code % 100 == KrGeometry::GEO_REGION ? 3 : code % 100 == KrGeometry::GEO_LINE ? 2 : 1;
    layer.features.resize(count);
    for (size_t i = 0; i < count; ++i) {
        DemoFeature& f = layer.features[i];
        f.feature = std::make_unique<KrFeature>(new KrGeometry(code));
        for (size_t k = 0; k < columns.size(); ++k) f.feature->SetField(names[k], columns[k][i]);
        f.geometryType = code;
        for (auto p = features[i]; p < features[i + 1]; ++p) {
            DemoPart part;
            for (auto r = parts[static_cast<size_t>(p)]; r < parts[static_cast<size_t>(p) + 1]; ++r) {
                std::vector<BSX::BsxPoint3D> ring;
                for (auto c = rings[static_cast<size_t>(r)]; c < rings[static_cast<size_t>(r) + 1]; ++c) {
                    const BSX::BsxPoint3D point(xyz(c, 0), xyz(c, 1), threeD ? xyz(c, 2) : 0.0);
                    if (!std::isfinite(point.x) || !std::isfinite(point.y) || std::fabs(point.x) > 180.0 ||
                        std::fabs(point.y) > 90.0)
                        throw Error("feature " + std::to_string(out->ids[i]) + " has a point outside longitude "
                                    "-180..180 and latitude -90..90");
                    ring.push_back(point);
                }
                if (ring.size() < minPoints)
                    throw Error("feature " + std::to_string(out->ids[i]) + " has a " + geometry + " ring of " +
                                std::to_string(ring.size()) + " points");
                part.rings.push_back(std::move(ring));
            }
            f.parts.push_back(std::move(part));
        }
        // Lines and points stand at their first point unless told otherwise; regions get the
        // pole of inaccessibility of their largest part when their surface is made
        if (!f.parts.empty() && !f.parts.front().rings.empty()) {
            f.anchor = f.parts.front().rings.front().front();
            f.anchor.z = 0.0;
            f.hasAnchor = true;
        }
    }
    {
        py::gil_scoped_release unlocked;
        out->prepared.Prepare(layer);
    }
    if (!anchors.is_none()) {
        const Coords given = Coords::ensure(anchors);
        if (!given || given.ndim() != 2 || given.shape(0) != static_cast<py::ssize_t>(count) || given.shape(1) < 2)
            throw Error("the anchors must be one (longitude, latitude) row per feature");
        const auto a = given.unchecked<2>();
        for (size_t i = 0; i < count; ++i) {
            layer.features[i].anchor = BSX::BsxPoint3D(a(i, 0), a(i, 1), 0.0);
            layer.features[i].hasAnchor = std::isfinite(a(i, 0)) && std::isfinite(a(i, 1));
        }
    }
    layer.UpdateBounds();
    return out;
}

// The theme, owned by the caller
KrTheme3D* BuildTheme(const py::object& kind, const Layer& layer, const std::string& field,
                      const py::object& method, int classes, double interval,
                      const std::vector<std::string>& charts, const std::string& format,
                      const std::vector<std::pair<std::string, std::string>>& custom,
                      const py::object& statistics, const std::vector<double>& quantileBreaks)
{
    DemoThemeRequest request;
    request.kind = KindCode(kind);
    request.field = field;
    if (!method.is_none()) {
        KrClassMethod code{};
        if (!KrClassifier::MethodFromName(py::str(method), code))
            throw Error("unknown classification method '" + std::string(py::str(method)) + "'");
        request.method = static_cast<int>(code);
    }
    request.classes = classes;
    request.interval = interval;
    request.chartFields = charts;
    request.format = format;
    request.customProperties = custom;
    if (!statistics.is_none()) request.statistics = std::make_shared<KrClassStatistics>(statistics.cast<KrClassStatistics>());
    request.quantileBreaks = quantileBreaks;
    std::unique_ptr<KrTheme3D> theme;
    std::string error;
    const LogMark mark;
    const auto create = [](int code) { return Factory().NewTheme3D(code); };
    if (!DemoThemeBuilder::Build(request, layer.layer, create, theme, error)) mark.Fail(error);
    return theme.release();
}

py::dict DrawTile(KrTheme3D& theme, const Layer& tile, const Layer* context, double heightScale)
{
    const LogMark mark;
    DemoDrawer drawer(theme, context ? context->layer : tile.layer);
    std::string error;
    if (!drawer.Prepare(error)) mark.Fail(error);
    DemoScene scene;
    const bool chart = theme.GetType() == KrTheme3D::Theme3DGraph;
    // Charts come out of the drawer in metres already
    scene.SetHeightScale(chart ? 1.0 : heightScale);
    std::vector<std::uint8_t> glb;
    size_t drawn = 0;
    py::list labels;
    std::vector<std::pair<std::string, size_t>> labelled;
    std::vector<BSX::BsxPoint3D> labelAt;
    {
        py::gil_scoped_release unlocked;
        DemoDrawnFeature out;
        for (size_t i = 0; i < tile.layer.features.size(); ++i) {
            const DemoFeature& f = tile.layer.features[i];
            drawer.Draw(f, static_cast<size_t>(tile.ids[i]), out);
            scene.BeginFeature(static_cast<std::uint32_t>(i), "#" + std::to_string(tile.ids[i]));
            if (out.drawn && out.style) {
                scene.AddFeature(f, &tile.prepared.GetMesh(i), *out.style);
                ++drawn;
            }
            if (out.chart) scene.AddChart(*out.chart);
            if (!out.label.IsEmpty() && f.hasAnchor) {
                labelled.emplace_back(Utf8(out.label), i);
                labelAt.push_back(f.anchor);
            }
        }
        glb = DemoGlbWriter::Encode(scene);
    }
    if (glb.empty()) mark.Fail("the tile would exceed 4 GiB");
    DemoRegion region;
    if (!DemoTileset::SceneRegion(scene, region)) {
        const BSX::BsxRect2D& b = (context ? context->layer : tile.layer).bounds;
        region = DemoTileset::RectRegion({b.left, b.bottom, b.right, b.top});
    }
    for (size_t k = 0; k < labelled.size(); ++k)
        labels.append(py::dict(py::arg("text") = labelled[k].first, py::arg("lon") = labelAt[k].x,
                               py::arg("lat") = labelAt[k].y, py::arg("id") = tile.ids[labelled[k].second]));
    py::list legend;
    for (const DemoLegendEntry& e : drawer.GetLegend())
        legend.append(py::dict(py::arg("caption") = e.caption, py::arg("role") = e.role, py::arg("value") = e.value,
                               py::arg("count") = e.count, py::arg("colour") = Rgba(e.colour)));
    py::dict result;
    result["glb"] = py::bytes(reinterpret_cast<const char*>(glb.data()), glb.size());
    result["region"] = py::make_tuple(region[0], region[1], region[2], region[3], region[4], region[5]);
    result["features"] = tile.layer.features.size();
    result["drawn"] = drawn;
    result["vertices"] = scene.GetVertices().size() + scene.GetLineVertices().size();
    result["triangles"] = scene.GetTriangleCount();
    result["lines"] = scene.GetLineIndices().size() / 2;
    result["labels"] = labels;
    result["legend"] = legend;
    return result;
}

} // namespace

void BindDraw(py::module_& m)
{
    py::class_<Layer>(m, "Layer", "Features held for drawing: geometry in degrees and metres, and field values")
        .def(py::init(&MakeLayer), py::arg("geometry"), py::arg("coords"), py::arg("ring_offsets"),
             py::arg("part_offsets"), py::arg("feature_offsets"), py::arg("fields") = py::dict(),
             py::arg("ids") = py::none(), py::arg("anchors") = py::none(), py::arg("name") = "layer",
             "Flat form (see t3d.make_layer for nested coordinates): coords rows (lon, lat[, height]); ring i is "
             "rows ring_offsets[i]..[i+1], part j rings part_offsets[j]..[j+1], feature k parts "
             "feature_offsets[k]..[k+1]; fields maps names to one value per feature")
        .def("__len__", [](const Layer& l) { return l.layer.features.size(); })
        .def_property_readonly("ids", [](const Layer& l) { return l.ids; })
        .def_property_readonly("fields", [](const Layer& l) {
            std::vector<std::string> out;
            for (const DemoField& f : l.layer.fields) out.push_back(f.name);
            return out;
        })
        .def_property_readonly("bounds", [](const Layer& l) {
            const BSX::BsxRect2D& b = l.layer.bounds;
            return py::make_tuple(b.left, b.bottom, b.right, b.top);
        }, "(west, south, east, north) in degrees")
        .def_property_readonly("anchors", [](const Layer& l) {
            std::vector<py::object> out;
            for (const DemoFeature& f : l.layer.features)
                out.push_back(f.hasAnchor ? py::object(py::make_tuple(f.anchor.x, f.anchor.y)) : py::object(py::none()));
            return out;
        }, "Where each feature's label and chart stand (lon, lat), None when it has no place");

    m.def("build_theme", &BuildTheme, py::return_value_policy::take_ownership, py::arg("kind"), py::arg("layer"), py::arg("field") = "",
          py::arg("method") = py::none(), py::arg("classes") = 5, py::arg("interval") = 0.0,
          py::arg("charts") = std::vector<std::string>(), py::arg("format") = "",
          py::arg("custom") = std::vector<std::pair<std::string, std::string>>(), py::arg("statistics") = py::none(),
          py::arg("quantile_breaks") = std::vector<double>(),
          "A theme for the layer as the demo host builds one: unique values, classified ranges (method by name or "
          "code; statistics and quantile_breaks of the whole data replace the layer's own), labels, charts of "
          "numeric fields, or a custom theme from (property, field or number) pairs");
    m.def("draw_tile", [](KrTheme3D& theme, const Layer& tile, const Layer* context, double heightScale) {
        return DrawTile(theme, tile, context, heightScale);
    }, py::arg("theme"), py::arg("layer"), py::arg("context") = nullptr, py::arg("height_scale") = 1.0,
          "Draws every feature of the layer with the theme into a glTF binary. Answers a dict: glb (bytes), region "
          "(west, south, east, north in radians, lowest and highest height in metres), features, drawn, vertices, "
          "triangles, lines, labels and the legend. context is the layer the theme is prepared on (its query fields "
          "checked, chart extremes taken), the tile itself when None");
}

} // namespace t3dpy
