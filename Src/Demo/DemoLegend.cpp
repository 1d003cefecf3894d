#include "DemoLegend.h"

#include <cstdio>

#include "DemoScene.h"
#include "KrClassifier.h"
#include "KrTheme3DGraph.h"

namespace KRN {

namespace {

const char* UnitName(KrCalendarUnit unit)
{
    static const char* const names[] = {"", "year", "month", "day", "hour", "minute", "second"};
    return names[static_cast<int>(unit)];
}

// How a range theme was classified: the method, its breaks, the values and the no data it saw,
// the goodness of variance fit and every class's count, extremes and mean
void ClassificationJson(DemoJson& j, const KrClassification& c)
{
    j.Key("method").String(KrClassifier::MethodName(c.method)).Key("methodCode").Integer(static_cast<int>(c.method));
    j.Key("breaks").BeginArray();
    for (double b : c.breaks) j.Number(b);
    j.EndArray();
    if (c.unit != KrCalendarUnit::None) {
        j.Key("calendarUnit").String(UnitName(c.unit)).Key("calendarStep").Integer(c.step);
        j.Key("breakDates").BeginArray();
        for (double b : c.breaks) j.String(KrClassifier::FormatDate(b, c.unit));
        j.EndArray();
    }
    j.Key("goodnessOfVarianceFit").Number(c.gvf);
    j.Key("values").Integer(static_cast<long long>(c.count)).Key("noData").Integer(static_cast<long long>(c.noData));
    j.Key("classStatistics").BeginArray();
    for (const KrClassSummary& s : c.classes) {
        j.BeginObject().Key("count").Integer(static_cast<long long>(s.count));
        j.Key("min").Number(s.min).Key("max").Number(s.max).Key("mean").Number(s.mean).EndObject();
    }
    j.EndArray();
}

} // namespace

void DemoLegend::Colour(DemoJson& j, const KrColorValue3D& c)
{
    const auto rgba = DemoScene::ToRgba(c);
    char hex[16];
    std::snprintf(hex, sizeof hex, "#%02x%02x%02x", rgba[0], rgba[1], rgba[2]);
    j.Key("colour").BeginArray().Number(c.r).Number(c.g).Number(c.b).Number(c.a).EndArray();
    j.Key("hex").String(hex);
}

std::string DemoLegend::Json(const DemoRun& run, const KrTheme3D& theme, const DemoDrawer& drawer, size_t features,
                             size_t drawn, const DemoBuildReport& report, const std::vector<size_t>* counts)
{
    DemoJson j;
    j.BeginObject().Key("name").String(run.name).Key("kind").String(DemoThemeBuilder::KindName(theme.GetType()));
    j.Key("type").Integer(theme.GetType()).Key("expression").String(theme.GetExpression().ToUtf8());
    j.Key("queryFields").BeginArray();
    for (const auto& q : drawer.GetQueryFields()) j.String(q);
    j.EndArray().Key("features").Integer(static_cast<long long>(features));
    j.Key("drawn").Integer(static_cast<long long>(drawn)).Key("classes").Integer(drawer.GetClassCount());
    if (run.request.kind == KrTheme3D::Theme3DUnique) {
        j.Key("classLimit").Integer(run.request.maxClasses).Key("distinctValues").Integer(report.distinctValues);
        // Counted in parts under a limit: the layer has more values than were counted
        if (!report.allValuesCounted) j.Key("distinctValuesComplete").Bool(false);
    }
    if (theme.GetType() == KrTheme3D::Theme3DGraph) {
        const auto& graph = static_cast<const KrTheme3DGraph&>(theme);
        j.Key("seriesScale").String(drawer.IsSeriesIndependent() ? "independent" : "shared");
        j.Key("barWidth").Number(graph.GetBarWidth());
        j.Key("sizeRange").BeginArray().Number(graph.GetMinSumSize()).Number(graph.GetMaxSumSize()).EndArray();
        static const char* const kGraduation[] = {"linear", "square root", "logarithm"};
        const int mode = graph.GetGraduatedMode();
        if (mode >= 0 && mode < 3) j.Key("graduation").String(kGraduation[mode]);
    } else if (theme.GetType() == KrTheme3D::Theme3DCustom || run.request.kind == KrTheme3D::Theme3DNone) {
        // Heights that fields or styles give, in metres per unit of their value
        j.Key("heightScale").Number(run.heightScale);
    }
    if (report.classified) ClassificationJson(j, report.classification);
    j.Key("entries").BeginArray();
    for (size_t k = 0; k < drawer.GetLegend().size(); ++k) {
        const DemoLegendEntry& e = drawer.GetLegend()[k];
        const size_t count = counts && k < counts->size() ? (*counts)[k] : e.count;
        j.BeginObject().Key("caption").String(e.caption).Key("role").String(e.role);
        if (!e.value.empty()) j.Key("value").String(e.value);
        if (e.metresPerUnit > 0.0) j.Key("metresPerUnit").Number(e.metresPerUnit);
        if (e.hasLow) j.Key("low").Number(e.low);
        if (e.hasHigh) j.Key("high").Number(e.high);
        Colour(j, e.colour);
        j.Key("count").Integer(static_cast<long long>(count)).EndObject();
    }
    j.EndArray().EndObject();
    return j.Text() + "\n";
}

// A field value as JSON: numbers stay numbers, dates and texts become strings
void DemoLegend::Value(DemoJson& j, const BSX::BsxVariant& v)
{
    switch (v.GetType()) {
    case BSX::BsxVariant::VT_NULL:
    case BSX::BsxVariant::VT_BLOB: j.Null(); break;
    case BSX::BsxVariant::VT_UINT8: j.Integer(v.GetUInt8()); break;
    case BSX::BsxVariant::VT_INT16: j.Integer(v.GetInt16()); break;
    case BSX::BsxVariant::VT_INT32: j.Integer(v.GetInt32()); break;
    case BSX::BsxVariant::VT_INT64: j.Integer(v.GetInt64()); break;
    case BSX::BsxVariant::VT_FLOAT: j.Number(v.GetFloat()); break;
    case BSX::BsxVariant::VT_DOUBLE: j.Number(v.GetDouble()); break;
    default: j.String(v.ToString().ToUtf8()); break;
    }
}

void DemoLegend::Record(DemoJson& j, size_t index, const std::string* id, const DemoFeature& f,
                        const DemoDrawnFeature& out, const DemoDrawer& drawer, const BSX::BsxUnicodeString& expression,
                        const std::vector<DemoField>& fields, const std::vector<BSX::BsxUnicodeString>& names,
                        bool place)
{
    j.BeginObject().Key("index").Integer(static_cast<long long>(index));
    if (id) j.Key("id").String(*id);
    if (place && f.hasAnchor) j.Key("lon").Number(f.anchor.x).Key("lat").Number(f.anchor.y);
    BSX::BsxVariant value;
    if (!expression.IsEmpty() && f.feature->GetValue(expression, value)) Value(j.Key("value"), value);
    j.Key("drawn").Bool(out.drawn).Key("entry").Integer(out.legendEntry);
    if (out.legendEntry >= 0)
        j.Key("caption").String(drawer.GetLegend()[static_cast<size_t>(out.legendEntry)].caption);
    if (!out.label.IsEmpty()) j.Key("label").String(out.label.ToUtf8());
    j.Key("attributes").BeginObject();
    for (size_t k = 0; k < names.size(); ++k) {
        if (f.feature->GetValue(names[k], value)) Value(j.Key(fields[k].name), value);
    }
    j.EndObject().EndObject();
}

} // namespace KRN
