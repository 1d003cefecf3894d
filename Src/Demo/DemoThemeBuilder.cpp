#include "DemoThemeBuilder.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>

#include "BsxArray.h"
#include "BsxVariant.h"
#include "DemoColorRamp.h"
#include "KrConvert.h"
#include "KrMarkup.h"
#include "KrTheme3DCustom.h"
#include "KrTheme3DGraph.h"
#include "KrTheme3DItem.h"
#include "KrTheme3DLabel.h"
#include "KrTheme3DRange.h"
#include "KrTheme3DUnique.h"

namespace KRN {

namespace {

// Beyond this many distinct values a unique theme would be a legend nobody reads; the rest
// fall to the default style, which the legend counts as "other values"
constexpr int kMaxUniqueItems = 1024;

BSX::BsxUnicodeString Wide(const std::string& s) { return BSX::BsxUnicodeString::FromUtf8(s); }

KrStyle ClassStyle(const KrColorValue3D& colour)
{
    KrStyle style;
    style.SetFillColor(colour);
    style.SetPointColor(colour);
    style.SetLineColor3D(colour);
    return style;
}

bool RequireField(const DemoLayer& layer, const std::string& field, bool numeric, std::string& error)
{
    if (field.empty()) {
        error = "no field given";
        return false;
    }
    const int index = layer.FindField(field);
    if (index < 0) {
        error = "the layer '" + layer.name + "' has no field '" + field + "'";
        return false;
    }
    if (numeric && !layer.fields[static_cast<size_t>(index)].IsNumeric()) {
        error = "the field '" + field + "' is not numeric";
        return false;
    }
    return true;
}

std::string Number(double v)
{
    BSX::BsxUnicodeString s;
    s.Format(L"%.15g", v);
    return s.ToUtf8();
}

bool BuildUnique(const DemoThemeRequest& r, const DemoLayer& layer, KrTheme3DUnique& theme, std::string& error)
{
    if (!RequireField(layer, r.field, false, error)) return false;
    const BSX::BsxUnicodeString expression = Wide(r.field);
    theme.SetExpression(expression);
    // Keys are made with the conversion the theme itself applies to values
    std::map<BSX::BsxUnicodeString, int> distinct;
    for (const DemoFeature& f : layer.features) {
        BSX::BsxVariant v;
        if (!f.feature->GetValue(expression, v)) continue;
        BSX::BsxUnicodeString key = KrTheme3D::Variant2String(v);
        if (!key.IsEmpty()) ++distinct[key];
    }
    int i = 0;
    for (const auto& entry : distinct) {
        if (i >= kMaxUniqueItems) break;
        KrTheme3DItem item;
        item.Caption = entry.first;
        item.Style = ClassStyle(DemoColorRamp::Qualitative(i));
        theme.Add(entry.first, item);
        ++i;
    }
    theme.SetDefaultStyle(ClassStyle(KrColorValue3D(0.6, 0.6, 0.6, 1.0)));
    return true;
}

bool BuildRange(const DemoThemeRequest& r, const DemoLayer& layer, KrTheme3DRange& theme, std::string& error)
{
    if (!RequireField(layer, r.field, true, error)) return false;
    if (r.method < 0 || r.method > 5) {
        error = "the classification method must be 0 to 5";
        return false;
    }
    if (r.classes < 2 || r.classes > 256) {
        error = "the class count must be 2 to 256";
        return false;
    }
    if (r.method == 5 && !(r.interval > 0.0 && std::isfinite(r.interval))) {
        error = "the fixed-interval method needs a positive --interval";
        return false;
    }
    const std::vector<double> values = DemoThemeBuilder::NumericValues(layer, r.field);
    BSX::BsxArray<double> data, quantiles;
    data.Reserve(static_cast<int>(values.size()));
    for (double v : values) data.Add(v);
    if (r.method == 4) quantiles = KrTheme3DRange::QuantileBreaks(data, r.classes);
    theme.SetExpression(Wide(r.field));
    if (!theme.MakeDefault(r.method, r.classes, data, quantiles, r.interval)) {
        error = "the field '" + r.field + "' has fewer than two numeric values to classify";
        return false;
    }
    const int n = theme.GetCount();
    const int breaks = theme.GetValueCount();
    for (int i = 0; i < n; ++i) {
        std::string caption;
        if (i == 0) caption = "< " + Number(theme.GetValueAt(0));
        else if (i >= breaks) caption = ">= " + Number(theme.GetValueAt(breaks - 1));
        else caption = Number(theme.GetValueAt(i - 1)) + " - " + Number(theme.GetValueAt(i));
        theme.SetCaptionAt(i, Wide(caption));
        theme.SetStyleAt(i, ClassStyle(DemoColorRamp::ViridisClass(i, n)));
    }
    return true;
}

bool BuildLabel(const DemoThemeRequest& r, const DemoLayer& layer, KrTheme3DLabel& theme, std::string& error)
{
    if (!RequireField(layer, r.field, false, error)) return false;
    theme.SetExpression(Wide(r.field));
    theme.SetLabel3DType(KrTheme3DLabel::Label3DText);
    if (!r.format.empty()) {
        theme.SetNumFormat(Wide(r.format));
        if (theme.GetNumFormat().IsEmpty()) {
            error = "the number format '" + r.format + "' cannot format a number";
            return false;
        }
    }
    return true;
}

bool BuildGraph(const DemoThemeRequest& r, const DemoLayer& layer, KrTheme3DGraph& theme, std::string& error)
{
    if (r.chartFields.empty()) {
        error = "a chart needs at least one field (--fields A,B,...)";
        return false;
    }
    if (r.chartType != 4 && r.chartType != 6 && r.chartType != 12) {
        error = "the chart kind must be bar, stacked or pie";
        return false;
    }
    for (const std::string& field : r.chartFields) {
        if (!RequireField(layer, field, true, error)) return false;
    }
    theme.SetGraphType(r.chartType);
    for (size_t i = 0; i < r.chartFields.size(); ++i) {
        const int index = theme.Add(Wide(r.chartFields[i]));
        theme.SetStyleAt(index, ClassStyle(DemoColorRamp::Qualitative(static_cast<int>(i))));
    }
    return true;
}

bool BuildCustom(const DemoThemeRequest& r, const DemoLayer& layer, KrTheme3DCustom& theme, std::string& error)
{
    if (r.customProperties.empty()) {
        error = "a custom theme needs at least one PROPERTY=FIELD pair";
        return false;
    }
    BSX::BsxUnicodeString* members[] = {
        &theme.AltitudeMode, &theme.BottomAltitude, &theme.ExtendHeight, &theme.BillboardMode, &theme.MarkerStyle,
        &theme.IconName, &theme.IconScale, &theme.ColorPoint, &theme.LineStyle, &theme.LineWidth,
        &theme.LineColor, &theme.FillStyle, &theme.Fill3DMode, &theme.FillForeColor, &theme.ScaleX,
        &theme.ScaleY, &theme.ScaleZ, &theme.RotateX, &theme.RotateY, &theme.RotateZ};
    const std::vector<std::string>& names = DemoThemeBuilder::CustomPropertyNames();
    for (const auto& property : r.customProperties) {
        auto it = std::find(names.begin(), names.end(), property.first);
        if (it == names.end()) {
            error = "'" + property.first + "' is not a custom theme property";
            return false;
        }
        // A number stands for itself; anything else must be a field of the layer
        char* end = nullptr;
        std::strtod(property.second.c_str(), &end);
        const bool literal = !property.second.empty() && end && *end == 0;
        if (!literal && !RequireField(layer, property.second, property.first != "IconName", error)) return false;
        *members[it - names.begin()] = Wide(property.second);
    }
    return true;
}

bool ReadFile(const std::string& path, std::string& text)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    text.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return !in.bad();
}

std::string DirectoryOf(const std::string& path)
{
    const size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? std::string(".") : path.substr(0, slash);
}

bool BuildFromDocument(const DemoThemeRequest& r, const DemoThemeCreator& create, std::unique_ptr<KrTheme3D>& theme,
                       std::string& error)
{
    std::string bytes;
    if (!ReadFile(r.themeFile, bytes)) {
        error = "cannot read the theme document '" + r.themeFile + "'";
        return false;
    }
    const BSX::BsxUnicodeString xml = BSX::BsxUnicodeString::FromUtf8(bytes);
    KrMarkup markup(xml.Cstr());
    if (!markup.FindElem(L"tdx:Theme3D") || !markup.FindChildElem(L"tdx:Type")) {
        error = "'" + r.themeFile + "' is not a theme document (no tdx:Theme3D with a tdx:Type)";
        return false;
    }
    const int kind = kratoi(markup.GetChildData());
    std::unique_ptr<KrTheme3D> made(create(kind));
    if (!made) {
        error = "the theme document '" + r.themeFile + "' names an unknown theme kind " + std::to_string(kind);
        return false;
    }
    if (!made->FromXML(xml, DemoThemeBuilder::kXmlVersion, Wide(DirectoryOf(r.themeFile)))) {
        error = "the theme document '" + r.themeFile + "' cannot be read as a " + DemoThemeBuilder::KindName(kind) +
                " theme";
        return false;
    }
    theme = std::move(made);
    return true;
}

} // namespace

const std::vector<std::string>& DemoThemeBuilder::CustomPropertyNames()
{
    static const std::vector<std::string> names = {
        "AltitudeMode", "BottomAltitude", "ExtendHeight", "BillboardMode", "MarkerStyle", "IconName", "IconScale",
        "ColorPoint", "LineStyle", "LineWidth", "LineColor", "FillStyle", "Fill3DMode", "FillForeColor",
        "ScaleX", "ScaleY", "ScaleZ", "RotateX", "RotateY", "RotateZ"};
    return names;
}

const char* DemoThemeBuilder::KindName(int kind)
{
    switch (kind) {
    case 1: return "unique";
    case 2: return "range";
    case 3: return "label";
    case 4: return "graph";
    case 5: return "custom";
    default: return "theme";
    }
}

std::vector<double> DemoThemeBuilder::NumericValues(const DemoLayer& layer, const std::string& field)
{
    std::vector<double> values;
    const BSX::BsxUnicodeString expression = Wide(field);
    values.reserve(layer.features.size());
    for (const DemoFeature& f : layer.features) {
        BSX::BsxVariant v;
        double d = 0.0;
        if (f.feature->GetValue(expression, v) && KrTheme3D::Variant2Double(v, d) && std::isfinite(d)) values.push_back(d);
    }
    std::sort(values.begin(), values.end());
    return values;
}

bool DemoThemeBuilder::Build(const DemoThemeRequest& request, const DemoLayer& layer, const DemoThemeCreator& create,
                             std::unique_ptr<KrTheme3D>& theme, std::string& error)
{
    theme.reset();
    if (request.kind == 0) return BuildFromDocument(request, create, theme, error);
    std::unique_ptr<KrTheme3D> made(create(request.kind));
    if (!made || made->GetType() != request.kind) {
        error = std::string("the plug-in cannot create a ") + KindName(request.kind) + " theme";
        return false;
    }
    bool ok = false;
    // The factory dispatches by type code, so the code names the class
    switch (request.kind) {
    case 1: ok = BuildUnique(request, layer, static_cast<KrTheme3DUnique&>(*made), error); break;
    case 2: ok = BuildRange(request, layer, static_cast<KrTheme3DRange&>(*made), error); break;
    case 3: ok = BuildLabel(request, layer, static_cast<KrTheme3DLabel&>(*made), error); break;
    case 4: ok = BuildGraph(request, layer, static_cast<KrTheme3DGraph&>(*made), error); break;
    case 5: ok = BuildCustom(request, layer, static_cast<KrTheme3DCustom&>(*made), error); break;
    default: error = "unknown theme kind"; break;
    }
    if (ok) theme = std::move(made);
    return ok;
}

} // namespace KRN
