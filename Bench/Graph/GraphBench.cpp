// Speed of the graph theme: charts per second for each chart kind, against building the same
// solids by hand (the least the result must own), and the theme's XML of 1,000 items and
// 10,000 keys, against parsing and printing the same document with the markup alone.
#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#include "KrGeoCompound.h"
#include "KrGeoCylinder.h"
#include "KrGeoText3D.h"
#include "KrMarkup.h"
#include "KrTheme3DGraph.h"

using namespace BSX;
using namespace KRN;

namespace {
KrTheme3DGraph MakeTheme(int items, int type, bool texts)
{
    KrTheme3DGraph graph;
    for (int i = 0; i < items; ++i) {
        graph.Add(L"FIELD");
        KrStyle style;
        style.SetFillStyle(i);
        style.SetIconName(L"icons/some_fairly_long_icon_name.png");
        graph.SetStyleAt(i, style);
    }
    graph.SetGraphType(type);
    graph.SetShowItemText(texts);
    graph.CalExtremumvValue(0, 1000, BsxRect2D(0, 0, 36, 18), 1, false);
    graph.PrepareTheme();
    graph.UpdateTheme();
    return graph;
}

void Chart(benchmark::State& state, int type)
{
    const int items = static_cast<int>(state.range(0));
    KrTheme3DGraph graph = MakeTheme(items, type, state.range(1) != 0);
    std::vector<double> values;
    for (int i = 0; i < items; ++i) values.push_back(10.0 + i);
    for (auto _ : state) {
        std::unique_ptr<KrGeometry> g(graph.ConvertToGeometry(values.data(), static_cast<unsigned>(items), BsxPoint3D(10, 45, 0)));
        benchmark::DoNotOptimize(g.get());
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_Bar(benchmark::State& state) { Chart(state, KrTheme3DGraph::GraphBar); }
void BM_StackedBar(benchmark::State& state) { Chart(state, KrTheme3DGraph::GraphStackedBar); }
void BM_Pie(benchmark::State& state) { Chart(state, KrTheme3DGraph::GraphPie); }

// Reference: a compound of the same cylinders (and texts), each made and styled, by hand
void BM_ReferenceSolids(benchmark::State& state)
{
    const int items = static_cast<int>(state.range(0));
    const bool texts = state.range(1) != 0;
    KrTheme3DGraph graph = MakeTheme(items, KrTheme3DGraph::GraphBar, texts);
    const KrTextStyle textStyle;
    for (auto _ : state) {
        auto compound = std::make_unique<KrGeoCompound>();
        for (int i = 0; i < items; ++i) {
            auto c = std::make_unique<KrGeoCylinder>();
            c->Make(BsxPoint3D(i, 45, 0), 5, 5, 10 + i);
            c->SetStyle(&graph.GetUpdateGraph().GetStyleAt(i));
            compound->AddCompound(c.release(), true);
            if (texts) {
                KrSubText3D line;
                line.SetText(L"12.5%");
                auto t = std::make_unique<KrGeoText3D>();
                const BsxPoint3D at(i, 45, 10);
                t->Make(textStyle, &at, &line, 1);
                compound->AddCompound(t.release(), true);
            }
        }
        benchmark::DoNotOptimize(compound.get());
    }
    state.SetItemsProcessed(state.iterations());
}

void ChartArgs(benchmark::internal::Benchmark* b)
{
    for (int items : {3, 12})
        for (int texts : {0, 1}) b->Args({items, texts});
    b->ArgNames({"items", "texts"});
}

BENCHMARK(BM_ReferenceSolids)->Apply(ChartArgs);
BENCHMARK(BM_Bar)->Apply(ChartArgs);
BENCHMARK(BM_StackedBar)->Apply(ChartArgs);
BENCHMARK(BM_Pie)->Apply(ChartArgs);

KrTheme3DGraph LargeTheme()
{
    KrTheme3DGraph graph;
    BsxArray<double> values;
    for (int k = 0; k < 10; ++k) values.Add(k * 1.25);
    for (int i = 0; i < 1000; ++i) {
        if (i % 2) graph.AddArrayField(L"Sales", values);
        else graph.Add(L"POPULATION_2020");
    }
    BsxArray<int> keys;
    for (int k = 0; k < 10000; ++k) keys.Add(k * 7);
    graph.SetJoinArrayField(keys);
    graph.SetGraphType(KrTheme3DGraph::GraphBar);
    return graph;
}

void BM_ToXML(benchmark::State& state)
{
    const KrTheme3DGraph graph = LargeTheme();
    for (auto _ : state) benchmark::DoNotOptimize(graph.ToXML(0, BsxUnicodeString()));
}

void BM_FromXML(benchmark::State& state)
{
    const BsxUnicodeString xml = LargeTheme().ToXML(0, BsxUnicodeString());
    for (auto _ : state) {
        KrTheme3DGraph graph;
        benchmark::DoNotOptimize(graph.FromXML(xml, 0, BsxUnicodeString()));
    }
}

// Reference: parse the same document and print it again, with the markup alone
void BM_ReferenceMarkup(benchmark::State& state)
{
    const BsxUnicodeString xml = LargeTheme().ToXML(0, BsxUnicodeString());
    for (auto _ : state) {
        KrMarkup markup(xml.Cstr());
        benchmark::DoNotOptimize(markup.GetDoc());
    }
}

BENCHMARK(BM_ReferenceMarkup)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ToXML)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FromXML)->Unit(benchmark::kMillisecond);
} // namespace
