// A layer summarised in parts must tell what the whole layer holds: a value seen once still gets
// its class, chart totals match those of the features at hand, and a summary survives its bytes.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "BsxVariant.h"
#include "DemoLayerSummary.h"
#include "DemoThemeBuilder.h"
#include "DemoVarint.h"
#include "KrTheme3DGraph.h"
#include "KrTheme3DUnique.h"

using namespace KRN;

namespace {

// Feature i stands at (i mod 50, i / 50) with a use, a height and a number of floors; floors run
// against height, so no single feature holds both largest values
DemoFeature Feature(int i, const std::string& use)
{
    DemoFeature f;
    f.feature = std::make_unique<KrFeature>();
    f.feature->SetField(L"use", BSX::BsxVariant(BSX::BsxUnicodeString::FromUtf8(use)));
    f.feature->SetField(L"height", BSX::BsxVariant(3.0 + (i * 37) % 101));
    if (i % 7 != 0) f.feature->SetField(L"floors", BSX::BsxVariant(static_cast<double>(40 - (i * 37) % 101 / 3)));
    f.geometryType = 1;
    f.anchor = BSX::BsxPoint3D(i % 50, i / 50, 0.0);
    f.hasAnchor = true;
    return f;
}

std::string UseOf(int i) { return i == 777 ? "lighthouse" : i % 3 == 0 ? "farm" : "home"; }

DemoSummaryPlan Plan()
{
    DemoSummaryPlan plan;
    plan.extent = {0.0, 0.0, 50.0, 40.0};
    plan.numericFields = {"height"};
    plan.valueFields = {"use"};
    plan.charts = {{"height", "floors"}};
    return plan;
}

// Every step-th of the features 0 .. count-1 as a layer
DemoLayer Layer(int count, int step)
{
    DemoLayer layer;
    layer.name = "layer";
    layer.fields = {{"use", DemoFieldKind::Text}, {"height", DemoFieldKind::Real}, {"floors", DemoFieldKind::Real}};
    for (int i = 0; i < count; i += step) layer.features.push_back(Feature(i, UseOf(i)));
    layer.UpdateBounds();
    return layer;
}

// The layer in parts cut at the given identifiers, merged in order
DemoLayerSummary Summarise(const std::vector<int>& cuts, int count)
{
    DemoLayerSummary whole(Plan());
    int from = 0;
    for (size_t k = 0; k <= cuts.size(); ++k) {
        DemoLayerSummary part(Plan());
        const int to = k < cuts.size() ? cuts[k] : count;
        for (int i = from; i < to; ++i) part.Add(Feature(i, UseOf(i)));
        EXPECT_TRUE(whole.Merge(part));
        from = to;
    }
    return whole;
}

} // namespace

TEST(LayerSummary, PartsMergeToWhatTheWholeLayerHolds)
{
    const int count = 2000;
    const DemoLayerSummary one = Summarise({}, count);
    const DemoLayerSummary three = Summarise({100, 1500}, count);
    for (const DemoLayerSummary* s : {&one, &three}) {
        EXPECT_EQ(s->GetFeatures(), static_cast<std::uint64_t>(count));
        const DemoValueCounts values = s->GetValues(0);
        ASSERT_EQ(values.values.size(), 3u);
        EXPECT_TRUE(values.complete);
        EXPECT_EQ(values.values[1].text, "home");
        EXPECT_EQ(values.values[1].count, 1333u);
        EXPECT_EQ(values.values[2].text, "lighthouse");
        EXPECT_EQ(values.values[2].count, 1u);
        EXPECT_EQ(s->GetStatistics(0).GetCount(), count);
        DemoTileTree tree;
        tree.SetExtent(0.0, 0.0, 50.0, 40.0);
        s->CountInto(tree);
        tree.Build(1);
        EXPECT_EQ(tree.GetTotal(), static_cast<std::uint64_t>(count));
        EXPECT_EQ(tree.GetLeaves().size(), static_cast<size_t>(count)) << "every feature stands in a cell of its own";
    }

    // The bytes carry all of it; damaged bytes are refused
    DemoLayerSummary copy;
    ASSERT_TRUE(copy.FromBytes(three.ToBytes()));
    EXPECT_EQ(copy.ToBytes(), three.ToBytes());
    const std::string bytes = three.ToBytes();
    EXPECT_FALSE(copy.FromBytes(bytes.substr(0, bytes.size() - 3)));
    EXPECT_FALSE(copy.FromBytes(bytes + "x"));
    EXPECT_EQ(copy.GetFeatures(), 0u);

    // Cells travel as distances between them: the whole 64 bits come back, a number whose bytes
    // end early or run past 64 bits is refused and the place read from is left as it was
    std::string varints;
    for (std::uint64_t v : {std::uint64_t(0), std::uint64_t(127), std::uint64_t(128), ~std::uint64_t(0)}) AppendVarint(varints, v);
    EXPECT_EQ(varints.size(), 1u + 1u + 2u + 10u);
    size_t at = 0;
    std::uint64_t v = 0;
    for (std::uint64_t want : {std::uint64_t(0), std::uint64_t(127), std::uint64_t(128), ~std::uint64_t(0)}) {
        ASSERT_TRUE(ReadVarint(varints, at, v));
        EXPECT_EQ(v, want);
    }
    EXPECT_EQ(at, varints.size());
    at = 0;
    EXPECT_FALSE(ReadVarint(std::string("\x80\x80"), at, v));
    EXPECT_FALSE(ReadVarint(std::string(11, '\x80') + '\x01', at, v));
    EXPECT_EQ(at, 0u);

    // A part gathered for other fields cannot be merged in
    DemoSummaryPlan other = Plan();
    other.valueFields = {"height"};
    DemoLayerSummary stranger(other);
    EXPECT_FALSE(copy.Merge(stranger));
}

TEST(LayerSummary, ValueOutsideTheSampleGetsItsClass)
{
    const DemoLayerSummary summary = Summarise({1000}, 2000);
    // The features at hand leave out the one lighthouse
    const DemoLayer sample = Layer(2000, 10);
    DemoThemeRequest request;
    request.kind = KrTheme3D::Theme3DUnique;
    request.field = "use";
    const DemoThemeCreator create = [](int) -> KrTheme3D* { return new KrTheme3DUnique(); };
    std::unique_ptr<KrTheme3D> fromSample, fromSummary;
    std::string error;
    ASSERT_TRUE(DemoThemeBuilder::Build(request, sample, create, fromSample, error)) << error;
    const auto lighthouse = [](const std::unique_ptr<KrTheme3D>& t) {
        return static_cast<KrTheme3DUnique&>(*t).Find(L"lighthouse") != nullptr;
    };
    EXPECT_FALSE(lighthouse(fromSample));
    request.values = std::make_shared<DemoValueCounts>(summary.GetValues(0));
    ASSERT_TRUE(DemoThemeBuilder::Build(request, sample, create, fromSummary, error)) << error;
    EXPECT_TRUE(lighthouse(fromSummary));

    // Over the class limit the most frequent values keep their classes, wherever they were read
    request.maxClasses = 2;
    DemoBuildReport report;
    ASSERT_TRUE(DemoThemeBuilder::Build(request, sample, create, fromSummary, error, &report)) << error;
    EXPECT_EQ(report.distinctValues, 3);
    EXPECT_EQ(report.classes, 2);
    EXPECT_NE(static_cast<KrTheme3DUnique&>(*fromSummary).Find(L"home"), nullptr);
}

TEST(LayerSummary, CountingStaysWithinItsLimit)
{
    DemoSummaryPlan plan = Plan();
    plan.valueLimit = 4;
    DemoLayerSummary summary(plan);
    // One frequent value among a thousand that are seen once
    for (int i = 0; i < 1000; ++i) summary.Add(Feature(i, i % 2 ? "home" : "unique" + std::to_string(i)));
    const DemoValueCounts values = summary.GetValues(0);
    EXPECT_FALSE(values.complete);
    EXPECT_LE(values.values.size(), 8u);
    bool home = false;
    for (const DemoValueCount& v : values.values) {
        if (v.text != "home") continue;
        home = true;
        EXPECT_LE(v.count, 500u);
        EXPECT_GE(v.count + values.shortfall, 500u);
    }
    EXPECT_TRUE(home) << "the value of half the features was let go";
}

TEST(LayerSummary, ChartTotalsAreThoseOfTheWholeLayer)
{
    const int count = 600;
    const DemoLayer layer = Layer(count, 1);
    const DemoLayerSummary summary = Summarise({250}, count);
    // Drawn from every feature, and from the summary beside a layer that holds only a few
    for (DemoChartScale::Series series : {DemoChartScale::Series::Independent, DemoChartScale::Series::Shared}) {
        DemoChartScale scale;
        scale.series = series;
        KrTheme3DGraph full, summarised;
        for (KrTheme3DGraph* g : {&full, &summarised}) {
            g->SetGraphType(KrTheme3DGraph::GraphBar);
            g->Add(L"height");
            g->Add(L"floors");
        }
        DemoDrawer fromLayer(full, layer);
        fromLayer.SetChartScale(scale);
        std::string error;
        ASSERT_TRUE(fromLayer.Prepare(error)) << error;
        DemoLayer few = Layer(count, 100);
        few.bounds = layer.bounds;
        DemoDrawer fromSummary(summarised, few);
        fromSummary.SetChartScale(scale);
        fromSummary.SetChartTotals(summary.GetChartTotals(0));
        ASSERT_TRUE(fromSummary.Prepare(error)) << error;
        EXPECT_EQ(summarised.GetMinSumSize(), full.GetMinSumSize());
        EXPECT_EQ(summarised.GetMaxSumSize(), full.GetMaxSumSize());
        ASSERT_EQ(fromSummary.GetLegend().size(), fromLayer.GetLegend().size());
        for (size_t k = 0; k < fromLayer.GetLegend().size(); ++k)
            EXPECT_EQ(fromSummary.GetLegend()[k].metresPerUnit, fromLayer.GetLegend()[k].metresPerUnit) << k;
    }
}
