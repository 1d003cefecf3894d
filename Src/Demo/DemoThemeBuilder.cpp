#include "DemoThemeBuilder.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>

#include "BsxArray.h"
#include "BsxVariant.h"
#include "DemoClassColours.h"
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
        error = "the layer '" + layer.name + "' has no field '" + field + "' (fields: " + layer.FieldList() + ")";
        return false;
    }
    if (numeric && !layer.fields[static_cast<size_t>(index)].IsNumeric()) {
        std::string numeric;
        for (const DemoField& f : layer.fields) {
            if (f.IsNumeric()) numeric += (numeric.empty() ? "" : ", ") + f.name;
        }
        error = "the field '" + field + "' is not numeric (numeric fields: " + (numeric.empty() ? "none" : numeric) + ")";
        return false;
    }
    return true;
}

bool BuildUnique(const DemoThemeRequest& r, const DemoLayer& layer, KrTheme3DUnique& theme, std::string& error,
                 DemoBuildReport& report)
{
    if (!RequireField(layer, r.field, false, error)) return false;
    if (r.maxClasses < 1) {
        error = "the class limit must be at least 1";
        return false;
    }
    const BSX::BsxUnicodeString expression = Wide(r.field);
    const bool numeric = layer.fields[static_cast<size_t>(layer.FindField(r.field))].IsNumeric();
    theme.SetExpression(expression);
    // Keys are made with the conversion the theme itself applies to values
    struct Value {
        size_t count = 0;
        double number = 0.0;
        int klass = -1;
    };
    std::map<BSX::BsxUnicodeString, Value> distinct;
    if (r.values) {
        for (const DemoValueCount& v : r.values->values) {
            Value& value = distinct[Wide(v.text)];
            value.count = static_cast<size_t>(v.count), value.number = numeric ? v.number : 0.0;
        }
        report.allValuesCounted = r.values->complete;
    }
    // The layer's features count their values, or with counts given only find their class (for
    // the colours of neighbours)
    std::vector<const BSX::BsxUnicodeString*> featureKey(layer.features.size(), nullptr);
    for (size_t i = 0; i < layer.features.size(); ++i) {
        BSX::BsxVariant v;
        if (!layer.features[i].feature->GetValue(expression, v)) continue;
        BSX::BsxUnicodeString key = KrTheme3D::Variant2String(v);
        if (key.IsEmpty()) continue;
        auto it = r.values ? distinct.find(key) : distinct.emplace(key, Value()).first;
        if (it == distinct.end()) continue;
        if (!r.values && it->second.count++ == 0 && numeric) KrTheme3D::Variant2Double(v, it->second.number);
        featureKey[i] = &it->first;
    }
    std::vector<std::map<BSX::BsxUnicodeString, Value>::iterator> order;
    for (auto it = distinct.begin(); it != distinct.end(); ++it) order.push_back(it);
    const size_t limit = static_cast<size_t>(r.maxClasses);
    if (order.size() > limit) {
        // Over the limit the most frequent values keep a class of their own
        std::stable_sort(order.begin(), order.end(), [](const auto& a, const auto& b) { return a->second.count > b->second.count; });
        order.resize(limit);
        std::sort(order.begin(), order.end(), [](const auto& a, const auto& b) { return a->first < b->first; });
    }
    // Numbers read in numeric order (9, 10, 11), not as text (10, 11, 9)
    if (numeric) {
        std::stable_sort(order.begin(), order.end(),
                         [](const auto& a, const auto& b) { return a->second.number < b->second.number; });
    }
    for (size_t k = 0; k < order.size(); ++k) order[k]->second.klass = static_cast<int>(k);
    std::vector<int> featureClass(layer.features.size(), -1);
    for (size_t i = 0; i < layer.features.size(); ++i) {
        if (featureKey[i]) featureClass[i] = distinct.find(*featureKey[i])->second.klass;
    }
    const std::vector<int> colours = DemoClassColours::Assign(
        static_cast<int>(order.size()),
        order.size() > static_cast<size_t>(DemoColorRamp::kQualitativeSize) ? DemoClassColours::Adjacency(layer, featureClass)
                                                                          : std::vector<std::pair<int, int>>());
    for (size_t k = 0; k < order.size(); ++k) {
        KrTheme3DItem item;
        item.Caption = order[k]->first;
        item.Style = ClassStyle(DemoColorRamp::Qualitative(colours[k]));
        theme.Add(order[k]->first, item);
    }
    theme.SetDefaultStyle(ClassStyle(KrColorValue3D(0.6, 0.6, 0.6, 1.0)));
    report.distinctValues = static_cast<int>(distinct.size());
    report.classes = static_cast<int>(order.size());
    return true;
}

// The field's values as numbers, dates as the host's day numbers; features without a number
// (NULL, text, NaN) are no data
std::vector<double> FieldNumbers(const DemoLayer& layer, const std::string& field, std::int64_t& noData)
{
    std::vector<double> values;
    const BSX::BsxUnicodeString expression = Wide(field);
    values.reserve(layer.features.size());
    noData = 0;
    for (const DemoFeature& f : layer.features) {
        BSX::BsxVariant v;
        double d = 0.0;
        if (f.feature->GetValue(expression, v) && KrTheme3D::Variant2Double(v, d) && std::isfinite(d)) values.push_back(d);
        else ++noData;
    }
    return values;
}

KrClassification Classify(const DemoThemeRequest& r, const KrClassifier& c)
{
    switch (static_cast<KrClassMethod>(r.method)) {
    case KrClassMethod::Natural: return c.Natural(r.classes);
    case KrClassMethod::Pretty: return c.Pretty(r.classes);
    case KrClassMethod::Geometric: return c.Geometric(r.classes);
    case KrClassMethod::HeadTail: return c.HeadTail(r.classes);
    case KrClassMethod::Calendar: return c.Calendar(r.classes);
    default: return c.Quantile(r.classes);
    }
}

bool BuildRange(const DemoThemeRequest& r, const DemoLayer& layer, KrTheme3DRange& theme, std::string& error,
                DemoBuildReport& report)
{
    const int index = layer.FindField(r.field);
    const DemoFieldKind kind = index < 0 ? DemoFieldKind::Other : layer.fields[static_cast<size_t>(index)].kind;
    const bool dates = kind == DemoFieldKind::Date || kind == DemoFieldKind::DateTime || kind == DemoFieldKind::Time;
    if (!RequireField(layer, r.field, !dates, error)) return false;
    if (r.method < 0 || r.method > static_cast<int>(KrClassMethod::Calendar)) {
        error = "the classification method must be 0 to 10";
        return false;
    }
    if (r.method == static_cast<int>(KrClassMethod::Calendar) && !dates) {
        error = "the calendar method needs a date field; '" + r.field + "' holds numbers";
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
    std::int64_t noData = 0;
    const std::vector<double> numbers = FieldNumbers(layer, r.field, noData);
    const KrClassifier classifier(numbers, noData);
    const std::vector<double>& distinct = classifier.GetValues();
    const std::vector<double>& weights = classifier.GetWeights();
    BSX::BsxArray<double> data, quantiles;
    data.Reserve(static_cast<int>(classifier.GetCount()));
    for (size_t i = 0; i < distinct.size(); ++i)
        for (double w = 0; w < weights[i]; w += 1) data.Add(distinct[i]);
    // Methods past the theme's six hand their breaks over as caller-computed quantile breaks
    const bool own = r.method <= static_cast<int>(KrClassMethod::FixedInterval);
    const bool quantile = r.method == static_cast<int>(KrClassMethod::Quantile);
    if (quantile) quantiles = KrTheme3DRange::QuantileBreaks(data, r.classes);
    KrClassification classification;
    if (!own) {
        classification = Classify(r, classifier);
        for (double b : classification.breaks) quantiles.Add(b);
    }
    theme.SetExpression(Wide(r.field));
    // Statistics of the whole layer gathered in parts serve the theme's own methods; the others
    // classify the values at hand
    const bool whole = r.statistics && own;
    BSX::BsxArray<double> wholeBreaks;
    if (whole && quantile) {
        for (double b : r.quantileBreaks) wholeBreaks.Add(b);
    }
    const bool made = whole ? theme.MakeDefault(r.method, r.classes, *r.statistics, wholeBreaks, r.interval)
                            : theme.MakeDefault(own ? r.method : static_cast<int>(KrClassMethod::Quantile), r.classes,
                                                data, quantiles, r.interval);
    if (!made) {
        error = "the field '" + r.field + "' has fewer than two numeric values to classify";
        return false;
    }
    const int n = theme.GetCount();
    const int breaks = theme.GetValueCount();
    std::vector<double> breakValues;
    for (int i = 0; i < breaks; ++i) breakValues.push_back(theme.GetValueAt(i));
    if (own) classification = classifier.Describe(static_cast<KrClassMethod>(r.method), breakValues);
    std::vector<std::string> texts = DemoThemeBuilder::BreakTexts(breakValues);
    // Dates print as dates, to the calendar unit of their breaks
    if (dates) {
        const KrCalendarUnit unit =
            classification.unit != KrCalendarUnit::None ? classification.unit : KrCalendarUnit::Second;
        for (size_t i = 0; i < texts.size(); ++i) texts[i] = KrClassifier::FormatDate(breakValues[i], unit);
    }
    report.classified = true;
    report.classification = classification;
    for (int i = 0; i < n; ++i) {
        std::string caption;
        if (i == 0) caption = "< " + texts[0];
        else if (i >= breaks) caption = ">= " + texts[static_cast<size_t>(breaks - 1)];
        else caption = texts[static_cast<size_t>(i - 1)] + " - " + texts[static_cast<size_t>(i)];
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
        // One real conversion with optional flags, width and precision: anything else would
        // print an unrelated argument or nothing at all
        const std::string body = r.format[0] == '%' ? r.format.substr(1) : r.format;
        const size_t conversion = body.find_first_not_of("-+ #0123456789.");
        if (conversion == std::string::npos || conversion + 1 != body.size() ||
            std::string("fFeEgGaA").find(body[conversion]) == std::string::npos) {
            error = "the number format '" + r.format + "' is not one real conversion such as .2f, .3e or .4g";
            return false;
        }
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
            std::string list;
            for (const std::string& name : names) list += (list.empty() ? "" : ", ") + name;
            error = "'" + property.first + "' is not a custom theme property (properties: " + list + ")";
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

// Elements that only one kind of theme writes at the top of its document, by kind code
const std::vector<std::pair<int, const wchar_t*>>& KindElements()
{
    static const std::vector<std::pair<int, const wchar_t*>> elements = {
        {1, L"tdx:UniqueItems"}, {1, L"tdx:DefaultStyle"}, {2, L"tdx:RangeItems"}, {2, L"tdx:Range3DMethod"},
        {3, L"tdx:LabelType"},   {3, L"tdx:NumFormat"},    {4, L"tdx:GraphItems"}, {4, L"tdx:GraphType"},
        {5, L"tdx:ExtendHeight"}, {5, L"tdx:FillForeColor"}};
    return elements;
}

// A document whose content belongs to another kind than its type code says would be read as an
// empty theme of the wrong kind and draw everything as "Other values"
bool CheckDocumentKind(const BSX::BsxUnicodeString& xml, int kind, const std::string& file, std::string& error)
{
    for (const auto& element : KindElements()) {
        if (element.first == kind) continue;
        KrMarkup markup(xml.Cstr());
        if (markup.FindElem(L"tdx:Theme3D") && markup.FindChildElem(element.second)) {
            error = "the theme document '" + file + "' says type " + std::to_string(kind) + " (" +
                    DemoThemeBuilder::KindName(kind) + ") but holds " + DemoThemeBuilder::KindName(element.first) +
                    " content (" + BSX::BsxUnicodeString(element.second).ToUtf8() + ")";
            return false;
        }
    }
    return true;
}

// Breaks must run one way: an inverted pair makes a class that can hold nothing
bool CheckBreaks(const KrTheme3DRange& range, const std::string& file, std::string& error)
{
    const bool descending = range.IsDescending();
    for (int i = 0; i + 1 < range.GetValueCount(); ++i) {
        const double a = range.GetValueAt(i), b = range.GetValueAt(i + 1);
        if (descending ? a > b : a < b) continue;
        char text[160];
        std::snprintf(text, sizeof text, "%.15g then %.15g", a, b);
        error = "the range document '" + file + "' has breaks out of " + (descending ? "descending" : "ascending") +
                " order at break " + std::to_string(i + 1) + ": " + text;
        return false;
    }
    return true;
}

bool BuildFromDocument(const DemoThemeRequest& r, const DemoThemeCreator& create, std::unique_ptr<KrTheme3D>& theme,
                       std::string& error)
{
    std::string bytes;
    if (!ReadFile(r.themeFile, bytes)) {
        error = "cannot read the theme document '" + r.themeFile + "': " + std::strerror(errno);
        return false;
    }
    const BSX::BsxUnicodeString xml = BSX::BsxUnicodeString::FromUtf8(bytes);
    KrMarkup markup(xml.Cstr());
    if (!markup.FindElem(L"tdx:Theme3D") || !markup.FindChildElem(L"tdx:Type")) {
        error = "'" + r.themeFile + "' is not a theme document (no tdx:Theme3D with a tdx:Type)";
        return false;
    }
    const int kind = kratoi(markup.GetChildData());
    if (!CheckDocumentKind(xml, kind, r.themeFile, error)) return false;
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
    if (made->GetType() == KrTheme3D::Theme3DRange &&
        !CheckBreaks(static_cast<const KrTheme3DRange&>(*made), r.themeFile, error))
        return false;
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

std::vector<std::string> DemoThemeBuilder::BreakTexts(const std::vector<double>& breaks)
{
    auto format = [](double v, int digits) {
        char text[512];
        const double magnitude = std::fabs(v);
        if (v == 0.0 || !std::isfinite(v) || magnitude >= 1e15 || magnitude < 1e-5) {
            std::snprintf(text, sizeof text, "%.*g", digits, v);
        } else {
            // Round to the significant digits, then write that many without an exponent
            const int exponent = static_cast<int>(std::floor(std::log10(magnitude)));
            const int decimals = std::max(0, digits - 1 - exponent);
            std::snprintf(text, sizeof text, "%.*f", decimals, v);
            // "%.*f" cannot drop digits left of the point: 6855713 at two digits is 6900000
            if (decimals == 0 && exponent + 1 > digits) {
                const double unit = std::pow(10.0, exponent + 1 - digits);
                std::snprintf(text, sizeof text, "%.0f", std::round(v / unit) * unit);
            }
        }
        std::string out = text;
        // Zeros past the point add digits without adding meaning ("0.50" is "0.5")
        if (out.find('.') != std::string::npos && out.find('e') == std::string::npos) {
            out.erase(out.find_last_not_of('0') + 1);
            if (out.back() == '.') out.pop_back();
        }
        return out;
    };
    std::vector<std::string> texts(breaks.size());
    for (int digits = 2; digits <= 17; ++digits) {
        for (size_t i = 0; i < breaks.size(); ++i) texts[i] = format(breaks[i], digits);
        bool apart = true;
        for (size_t i = 0; i + 1 < breaks.size() && apart; ++i) apart = breaks[i] == breaks[i + 1] || texts[i] != texts[i + 1];
        if (apart) break;
    }
    return texts;
}

const char* DemoThemeBuilder::KindName(int kind)
{
    switch (kind) {
    case KrTheme3D::Theme3DUnique: return "unique";
    case KrTheme3D::Theme3DRange: return "range";
    case KrTheme3D::Theme3DLabel: return "label";
    case KrTheme3D::Theme3DGraph: return "graph";
    case KrTheme3D::Theme3DCustom: return "custom";
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
                             std::unique_ptr<KrTheme3D>& theme, std::string& error, DemoBuildReport* report)
{
    theme.reset();
    DemoBuildReport ignored;
    if (!report) report = &ignored;
    *report = DemoBuildReport();
    if (request.kind == KrTheme3D::Theme3DNone) return BuildFromDocument(request, create, theme, error);
    std::unique_ptr<KrTheme3D> made(create(request.kind));
    if (!made || made->GetType() != request.kind) {
        error = std::string("the plug-in cannot create a ") + KindName(request.kind) + " theme";
        return false;
    }
    bool ok = false;
    // The factory dispatches by type code, so the code names the class
    switch (request.kind) {
    case KrTheme3D::Theme3DUnique: ok = BuildUnique(request, layer, static_cast<KrTheme3DUnique&>(*made), error, *report); break;
    case KrTheme3D::Theme3DRange: ok = BuildRange(request, layer, static_cast<KrTheme3DRange&>(*made), error, *report); break;
    case KrTheme3D::Theme3DLabel: ok = BuildLabel(request, layer, static_cast<KrTheme3DLabel&>(*made), error); break;
    case KrTheme3D::Theme3DGraph: ok = BuildGraph(request, layer, static_cast<KrTheme3DGraph&>(*made), error); break;
    case KrTheme3D::Theme3DCustom: ok = BuildCustom(request, layer, static_cast<KrTheme3DCustom&>(*made), error); break;
    default: error = "unknown theme kind"; break;
    }
    if (ok) theme = std::move(made);
    return ok;
}

} // namespace KRN
