// Features per second when a layer of 1,000,000 point features is drawn through each kind of
// theme by the demo host's drawer (the engine's order: query fields, then the kind's answer per
// feature). The reference reads the same field of every feature and nothing else; the counter
// x_read is a kind's time per feature over the reference's, measured in the same run.
#include <benchmark/benchmark.h>

#include <chrono>
#include <memory>
#include <string>

#include "BsxVariant.h"
#include "DemoDrawer.h"
#include "DemoLayer.h"
#include "DemoThemeBuilder.h"
#include "KrGeometry.h"
#include "KrTheme3DCustom.h"
#include "KrTheme3DGraph.h"
#include "KrTheme3DLabel.h"
#include "KrTheme3DRange.h"
#include "KrTheme3DUnique.h"

using namespace BSX;
using namespace KRN;

namespace {

constexpr size_t kFeatures = 1000000;

// Points on a regular grid over the globe; v a smooth number, w a second one, k a small code and
// s one of ten category names (short names keep the field names in the strings' own storage)
const DemoLayer& Layer()
{
    static const DemoLayer layer = [] {
        DemoLayer l;
        l.name = "synthetic";
        l.fields = {{"v", DemoFieldKind::Real}, {"w", DemoFieldKind::Real}, {"k", DemoFieldKind::Integer},
                    {"s", DemoFieldKind::Text}};
        l.features.resize(kFeatures);
        const BsxUnicodeString categories[10] = {L"c0", L"c1", L"c2", L"c3", L"c4", L"c5", L"c6", L"c7", L"c8", L"c9"};
        for (size_t i = 0; i < kFeatures; ++i) {
            DemoFeature& f = l.features[i];
            f.feature = std::make_unique<KrFeature>(new KrGeometry(KrGeometry::GEO_POINT));
            f.geometryType = KrGeometry::GEO_POINT;
            f.anchor = BsxPoint3D(-180.0 + 360.0 * static_cast<double>(i % 1000) / 1000.0,
                                  -85.0 + 170.0 * static_cast<double>(i / 1000) / 1000.0, 0.0);
            f.hasAnchor = true;
            f.parts.resize(1);
            f.parts[0].rings.push_back({f.anchor});
            f.feature->SetField(L"v", BsxVariant(1.0 + static_cast<double>((i * 7919) % 100000)));
            f.feature->SetField(L"w", BsxVariant(1.0 + static_cast<double>((i * 104729) % 5000)));
            f.feature->SetField(L"k", BsxVariant(static_cast<int>(i % 7)));
            f.feature->SetField(L"s", BsxVariant(categories[i % 10]));
        }
        l.UpdateBounds();
        return l;
    }();
    return layer;
}

KrTheme3D* Create(int kind)
{
    switch (kind) {
    case 1: return new KrTheme3DUnique;
    case 2: return new KrTheme3DRange;
    case 3: return new KrTheme3DLabel;
    case 4: return new KrTheme3DGraph;
    case 5: return new KrTheme3DCustom;
    default: return nullptr;
    }
}

// Nanoseconds per feature of reading one field of every feature, measured once per run
double ReferenceNs()
{
    static const double ns = [] {
        const DemoLayer& layer = Layer();
        const BsxUnicodeString field(L"v");
        const auto start = std::chrono::steady_clock::now();
        BsxVariant v;
        for (const DemoFeature& f : layer.features) {
            f.feature->GetValue(field, v);
            benchmark::DoNotOptimize(v);
        }
        return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count() /
               static_cast<double>(layer.features.size());
    }();
    return ns;
}

void Draw(benchmark::State& state, const DemoThemeRequest& request)
{
    const DemoLayer& layer = Layer();
    const double reference = ReferenceNs();
    std::unique_ptr<KrTheme3D> theme;
    std::string error;
    if (!DemoThemeBuilder::Build(request, layer, Create, theme, error)) {
        state.SkipWithError(error.c_str());
        return;
    }
    DemoDrawer drawer(*theme, layer);
    if (!drawer.Prepare(error)) {
        state.SkipWithError(error.c_str());
        return;
    }
    DemoDrawnFeature out;
    size_t i = 0;
    const auto start = std::chrono::steady_clock::now();
    for (auto _ : state) {
        drawer.Draw(i, out);
        benchmark::DoNotOptimize(out.style);
        if (++i == layer.features.size()) i = 0;
    }
    const double ns = std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count() /
                      static_cast<double>(state.iterations());
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
    state.counters["x_read"] = ns / reference;
}

void BM_DrawReference(benchmark::State& state)
{
    const DemoLayer& layer = Layer();
    const BsxUnicodeString field(L"v");
    BsxVariant v;
    size_t i = 0;
    for (auto _ : state) {
        layer.features[i].feature->GetValue(field, v);
        benchmark::DoNotOptimize(v);
        if (++i == layer.features.size()) i = 0;
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}

void BM_DrawUnique(benchmark::State& state)
{
    DemoThemeRequest r;
    r.kind = 1;
    r.field = "s";
    Draw(state, r);
}

void BM_DrawRange(benchmark::State& state)
{
    DemoThemeRequest r;
    r.kind = 2;
    r.field = "v";
    r.method = 4;
    r.classes = 7;
    Draw(state, r);
}

void BM_DrawLabel(benchmark::State& state)
{
    DemoThemeRequest r;
    r.kind = 3;
    r.field = "v";
    r.format = ".2f";
    Draw(state, r);
}

void BM_DrawGraph(benchmark::State& state)
{
    DemoThemeRequest r;
    r.kind = 4;
    r.chartType = static_cast<int>(state.range(0));
    r.chartFields = {"v", "w"};
    Draw(state, r);
}

void BM_DrawCustom(benchmark::State& state)
{
    DemoThemeRequest r;
    r.kind = 5;
    r.customProperties = {{"ExtendHeight", "v"}, {"ColorPoint", "k"}, {"IconScale", "w"}};
    Draw(state, r);
}

} // namespace

// One iteration draws one feature: a run of kFeatures iterations draws the whole layer once
BENCHMARK(BM_DrawReference)->Iterations(kFeatures)->Unit(benchmark::kNanosecond);
BENCHMARK(BM_DrawUnique)->Iterations(kFeatures)->Unit(benchmark::kNanosecond);
BENCHMARK(BM_DrawRange)->Iterations(kFeatures)->Unit(benchmark::kNanosecond);
BENCHMARK(BM_DrawLabel)->Iterations(kFeatures)->Unit(benchmark::kNanosecond);
BENCHMARK(BM_DrawGraph)->Arg(4)->Arg(12)->Arg(6)->Iterations(kFeatures)->Unit(benchmark::kNanosecond);
BENCHMARK(BM_DrawCustom)->Iterations(kFeatures)->Unit(benchmark::kNanosecond);
