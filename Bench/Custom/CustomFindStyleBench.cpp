// Features per second through KrTheme3DCustom::FindStyle for a point, a region and a model
// feature with every expression of their groups set. The reference reads the same fields from
// the same feature and stores the numbers unconverted: the ratio FindStyle / reference is what
// the theme adds on top of the field reads the host cannot avoid.
#include <benchmark/benchmark.h>

#include <vector>

#include "BsxVariant.h"
#include "KrFeature.h"
#include "KrGeometry.h"
#include "KrStyle.h"
#include "KrTheme3DCustom.h"

using namespace BSX;
using namespace KRN;

namespace {

struct Property {
    BsxUnicodeString KrTheme3DCustom::*member;
    const wchar_t* field;
    BsxVariant value;
};

const std::vector<Property>& Properties()
{
    static const std::vector<Property> all = {
        {&KrTheme3DCustom::AltitudeMode, L"ALT_MODE", BsxVariant(2)},
        {&KrTheme3DCustom::BottomAltitude, L"BOTTOM", BsxVariant(12.5)},
        {&KrTheme3DCustom::ExtendHeight, L"HEIGHT", BsxVariant(30.0f)},
        {&KrTheme3DCustom::BillboardMode, L"BILLBOARD", BsxVariant(1)},
        {&KrTheme3DCustom::MarkerStyle, L"MARKER", BsxVariant(short(7))},
        {&KrTheme3DCustom::IconName, L"ICON", BsxVariant(L"icons/pin.png")},
        {&KrTheme3DCustom::IconScale, L"ICON_SCALE", BsxVariant(1.5)},
        {&KrTheme3DCustom::ColorPoint, L"POINT_COLOR", BsxVariant(0x20406080)},
        {&KrTheme3DCustom::LineStyle, L"LINE_STYLE", BsxVariant(3)},
        {&KrTheme3DCustom::LineWidth, L"LINE_WIDTH", BsxVariant(2.25)},
        {&KrTheme3DCustom::LineColor, L"LINE_COLOR", BsxVariant(0x7F102030)},
        {&KrTheme3DCustom::FillStyle, L"FILL_STYLE", BsxVariant(1)},
        {&KrTheme3DCustom::Fill3DMode, L"FILL_3D", BsxVariant(2)},
        {&KrTheme3DCustom::FillForeColor, L"FILL_COLOR", BsxVariant(static_cast<long long>(0x40A0B0C0))},
        {&KrTheme3DCustom::ScaleX, L"SX", BsxVariant(1.1)},
        {&KrTheme3DCustom::ScaleY, L"SY", BsxVariant(1.2)},
        {&KrTheme3DCustom::ScaleZ, L"SZ", BsxVariant(1.3)},
        {&KrTheme3DCustom::RotateX, L"RX", BsxVariant(10.0)},
        {&KrTheme3DCustom::RotateY, L"RY", BsxVariant(20.0)},
        {&KrTheme3DCustom::RotateZ, L"RZ", BsxVariant(30.0)},
    };
    return all;
}

KrTheme3DCustom MakeTheme()
{
    KrTheme3DCustom theme;
    for (const Property& p : Properties()) theme.*p.member = p.field;
    return theme;
}

// A feature as a layer has it: a few fields of its own before the styling fields
void Fill(KrFeature& feature)
{
    feature.SetField(L"ID", 42);
    feature.SetField(L"NAME", L"Feature 42");
    feature.SetField(L"CATEGORY", L"building");
    feature.SetField(L"AREA", 1234.5);
    for (const Property& p : Properties()) feature.SetField(p.field, p.value);
}

// The fields each kind's groups read, in evaluation order
std::vector<BsxUnicodeString> FieldsOf(int kind)
{
    std::vector<const wchar_t*> names = {L"ALT_MODE", L"BOTTOM", L"HEIGHT"};
    if (kind == KrGeometry::GEO_POINT)
        names.insert(names.end(), {L"MARKER", L"ICON", L"ICON_SCALE", L"POINT_COLOR", L"BILLBOARD", L"SX", L"SY", L"SZ",
                                   L"RX", L"RY", L"RZ"});
    else if (kind == KrGeometry::GEO_MODEL)
        names.insert(names.end(), {L"FILL_COLOR", L"BILLBOARD", L"SX", L"SY", L"SZ", L"RX", L"RY", L"RZ"});
    else
        names.insert(names.end(), {L"FILL_STYLE", L"FILL_COLOR", L"FILL_3D", L"LINE_STYLE", L"LINE_WIDTH", L"LINE_COLOR"});
    return std::vector<BsxUnicodeString>(names.begin(), names.end());
}

void FindStyle(benchmark::State& state)
{
    const KrTheme3DCustom theme = MakeTheme();
    KrFeature feature(new KrGeometry(static_cast<int>(state.range(0))));
    Fill(feature);
    KrStyle style;
    for (auto _ : state) {
        bool known = theme.FindStyle(&feature, style);
        benchmark::DoNotOptimize(known);
        benchmark::ClobberMemory();
    }
    state.counters["features/s"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

void Reference(benchmark::State& state)
{
    const int kind = static_cast<int>(state.range(0));
    KrFeature feature(new KrGeometry(kind));
    Fill(feature);
    const std::vector<BsxUnicodeString> fields = FieldsOf(kind);
    std::vector<double> sink(fields.size());
    for (auto _ : state) {
        for (size_t i = 0; i < fields.size(); ++i) {
            BsxVariant value;
            if (feature.GetValue(fields[i], value)) KrTheme3D::Variant2Double(value, sink[i]);
        }
        benchmark::DoNotOptimize(sink.data());
        benchmark::ClobberMemory();
    }
    state.counters["features/s"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

} // namespace

BENCHMARK(FindStyle)->ArgName("kind")->Arg(KrGeometry::GEO_POINT)->Arg(KrGeometry::GEO_REGION)->Arg(KrGeometry::GEO_MODEL);
BENCHMARK(Reference)->ArgName("kind")->Arg(KrGeometry::GEO_POINT)->Arg(KrGeometry::GEO_REGION)->Arg(KrGeometry::GEO_MODEL);
