#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "KrGeoCompound.h"
#include "KrGeoCylinder.h"
#include "KrGeoPieCylinder.h"
#include "KrGeoText3D.h"
#include "KrGeometryManager.h"
#include "KrTheme3DGraph.h"
#include "TestSupport.h"

using namespace BSX;
using namespace KRN;

namespace {
const double kInf = std::numeric_limits<double>::infinity();
const double kNaN = std::numeric_limits<double>::quiet_NaN();

// Constant scaling between sums 0 and 100 and heights 20 and 100, items with distinct fill
// styles handed over to drawing
class GraphGeometryTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        KrGeometryManager::ResetAllowances();
        graph.CalExtremumvValue(0, 100, BsxRect2D(0, 0, 36, 18), 0, false);
        graph.SetMinSumSize(20);
        graph.SetMaxSumSize(100);
        graph.SetBarWidth(100000);
    }
    void TearDown() override { KrGeometryManager::ResetAllowances(); }

    void Items(int count, int type)
    {
        graph.RemoveAll();
        for (int i = 0; i < count; ++i) {
            graph.Add(L"F");
            graph.SetCaptionAt(i, i == 0 ? L"A." : L"B");
            KrStyle style;
            style.SetFillStyle(i + 1);
            graph.SetStyleAt(i, style);
        }
        graph.SetGraphType(type);
        graph.PrepareTheme();
        graph.UpdateTheme();
    }

    std::unique_ptr<KrGeoCompound> Draw(std::vector<double>& values, BsxPoint3D at = BsxPoint3D(10, 0, 5))
    {
        KrGeometry* g = graph.ConvertToGeometry(values.data(), static_cast<unsigned>(values.size()), at);
        if (g) {
            EXPECT_EQ(g->GetType(), KrGeometry::GEO_COMPOUND);
        }
        return std::unique_ptr<KrGeoCompound>(static_cast<KrGeoCompound*>(g));
    }

    template <class T>
    static const T* Part(const KrGeoCompound& c, int i)
    {
        return dynamic_cast<const T*>(c.GetAt(i));
    }

    // The chart's parts in order: B for a bar or segment, P for a pie slice, T for a text
    static std::string Shape(const KrGeoCompound& c)
    {
        std::string shape;
        for (int i = 0; i < c.GetCount(); ++i)
            shape += Part<KrGeoPieCylinder>(c, i) ? 'P' : Part<KrGeoCylinder>(c, i) ? 'B' : Part<KrGeoText3D>(c, i) ? 'T' : '?';
        return shape;
    }

    KrTheme3DGraph graph;
};
} // namespace

TEST_F(GraphGeometryTest, BarsStandSideBySideCentredOnThePosition)
{
    Items(3, KrTheme3DGraph::GraphBar);
    std::vector<double> values{10, 30};
    graph.RemoveAt(2); // working chart only; the update chart keeps three styles
    auto chart = Draw(values);
    const double spacing = 200000 / 40075016.68557849 * 360;
    EXPECT_NEAR(graph.GetBarSpacingDegrees(), spacing, 1e-12);
    ASSERT_EQ(Shape(*chart), "BB");
    // Total 40: S = 100 - 80 * 60 / 100 = 52, heights 13 and 39
    const double heights[] = {13, 39};
    for (int i = 0; i < 2; ++i) {
        const auto* bar = Part<KrGeoCylinder>(*chart, i);
        EXPECT_NEAR(bar->GetCentre().x + bar->GetOffsetX(), 10 + (i == 0 ? -0.8983 : 0.8983), 1e-4);
        EXPECT_EQ(std::make_pair(bar->GetBottomRadius(), bar->GetTopRadius()), std::make_pair(50000.0, 50000.0));
        EXPECT_EQ(bar->GetCentre().z, 5);
        EXPECT_EQ(bar->GetStyle()->GetFillStyle(), i + 1);
        EXPECT_DOUBLE_EQ(bar->GetHeight(), heights[i]);
    }

    // S = 60 for a total of 50; a non-positive value is replaced and keeps its slot empty
    Items(3, KrTheme3DGraph::GraphBar);
    graph.SetShowItemText(true);
    values = {10, -3, 43};
    chart = Draw(values);
    EXPECT_EQ(values[1], 0.001);
    ASSERT_EQ(Shape(*chart), "BTBT");
    EXPECT_DOUBLE_EQ(Part<KrGeoCylinder>(*chart, 0)->GetHeight(), 12);
    const auto* third = Part<KrGeoCylinder>(*chart, 2);
    EXPECT_NEAR(third->GetCentre().x + third->GetOffsetX(), 10 + spacing, 1e-12);
    const auto* label = Part<KrGeoText3D>(*chart, 3);
    EXPECT_NEAR(label->GetPoint(0).x, 10 + spacing, 1e-12);
    EXPECT_DOUBLE_EQ(label->GetPoint(0).z, 5 + third->GetHeight());
    EXPECT_EQ(label->GetSubText(0).GetText(), L"86.0%");
    EXPECT_EQ(label->GetTextStyle(), graph.GetItemTextStyle());

    graph.SetShowItemText(false);
    values = {10, 0};
    graph.SetMinSumSize(0);
    graph.SetMaxSumSize(0); // every height is zero: the chart is abandoned
    EXPECT_EQ(Draw(values), nullptr);
}

TEST_F(GraphGeometryTest, StackedSegmentsAndPieSlices)
{
    Items(3, KrTheme3DGraph::GraphStackedBar);
    graph.SetShowItemText(true);
    graph.SetItemTextFormat(KrTheme3DGraph::TextCaption);
    graph.CalExtremumvValue(0, 60, BsxRect2D(), 0, false);
    graph.SetMinSumSize(0);
    graph.SetMaxSumSize(60);
    std::vector<double> values{10, 20, 30};
    auto chart = Draw(values);
    ASSERT_EQ(Shape(*chart), "BTBTBT");
    const double bases[] = {0, 10, 30}, texts[] = {5, 20, 45};
    for (int i = 0; i < 3; ++i) {
        const auto* segment = Part<KrGeoCylinder>(*chart, 2 * i);
        EXPECT_DOUBLE_EQ(segment->GetCentre().z, 5 + bases[i]);
        EXPECT_DOUBLE_EQ(segment->GetHeight(), values[static_cast<size_t>(i)]);
        EXPECT_EQ(segment->GetStyle()->GetAltitudeMode(), i == 0 ? ALTITUDE_CLAMP_TO_GROUND : ALTITUDE_RELATIVE_TO_GROUND);
        EXPECT_DOUBLE_EQ(Part<KrGeoText3D>(*chart, 2 * i + 1)->GetPoint(0).z, 5 + texts[i]);
    }
    EXPECT_EQ(Part<KrGeoText3D>(*chart, 1)->GetSubText(0).GetText(), L"A");
    EXPECT_EQ(graph.GetUpdateGraph().GetStyleAt(1).GetAltitudeMode(), ALTITUDE_CLAMP_TO_GROUND);

    Items(3, KrTheme3DGraph::GraphPie);
    graph.SetStartAngle(0);
    values = {1, 1, 1};
    chart = Draw(values);
    const double radius = (60 - 60 * (60 - 3.0) / 60) * 0.25;
    ASSERT_EQ(Shape(*chart), "PTPTPT");
    for (int i = 0; i < 3; ++i) {
        const auto* slice = Part<KrGeoPieCylinder>(*chart, 2 * i);
        EXPECT_DOUBLE_EQ(slice->GetSweep(), 118);
        EXPECT_DOUBLE_EQ(slice->GetStartAngle(), 120.0 * i);
        EXPECT_DOUBLE_EQ(slice->GetEndAngle(), 120.0 * i + 118);
        EXPECT_DOUBLE_EQ(slice->GetRadiusX(), radius);
        EXPECT_DOUBLE_EQ(slice->GetHeight(), radius / 2);
        const BsxPoint3D& at = Part<KrGeoText3D>(*chart, 2 * i + 1)->GetPoint(0);
        const double mid = (120.0 * i + 59) * 0.017453292519943295, rim = radius * 360 / 40075016.68557849;
        EXPECT_DOUBLE_EQ(at.x, 10 + std::cos(mid) * rim);
        EXPECT_DOUBLE_EQ(at.y, 0 + std::sin(mid) * rim);
        // Pie texts stand level with the top of the slices
        EXPECT_DOUBLE_EQ(at.z, 5 + radius / 2);
    }

    graph.SetShowItemText(false);
    values = {5};
    graph.SetStartAngle(30);
    chart = Draw(values);
    ASSERT_EQ(Shape(*chart), "P");
    EXPECT_EQ(Part<KrGeoPieCylinder>(*chart, 0)->GetSweep(), 360);
    EXPECT_EQ(Part<KrGeoPieCylinder>(*chart, 0)->GetStartAngle(), 30);

    values = {1, 0.5, 100}; // 0.5 of 101.5 sweeps 1.77 degrees, less than 1 after the gap
    chart = Draw(values);
    ASSERT_EQ(Shape(*chart), "PP");
    EXPECT_DOUBLE_EQ(Part<KrGeoPieCylinder>(*chart, 1)->GetStartAngle(), 30 + 1.5 / 101.5 * 360);
}

TEST_F(GraphGeometryTest, SumsAndDefaultSizesForALayer)
{
    KrTheme3DGraph layer;
    layer.CalExtremumvValue(-5, 100, BsxRect2D(0, 0, 36, 18), 1, false);
    EXPECT_EQ(std::vector<double>({layer.GetMinSum(), layer.GetMaxSum(), layer.GetSqrtMaxSum()}), std::vector<double>({0, 100, 10}));
    EXPECT_EQ(layer.GetLogMinSum(), -kInf);
    EXPECT_NEAR(layer.GetLogMaxSum(), 4.60517, 1e-5);
    EXPECT_NEAR(layer.GetBarWidth(), 12756.274, 1e-9);
    EXPECT_NEAR(layer.GetMaxSumSize(), 63781.37, 1e-8);
    EXPECT_EQ(layer.GetMinSumSize(), 0);
    // Set values stay; the sums are always replaced
    layer.SetMinSumSize(3);
    layer.CalExtremumvValue(1, 4, BsxRect2D(0, 0, 360, 180), 1, false);
    EXPECT_NEAR(layer.GetBarWidth(), 12756.274, 1e-9);
    EXPECT_EQ(layer.GetMinSumSize(), 3);
    EXPECT_EQ(layer.GetSqrtMaxSum(), 2);

    BsxArray<double> values;
    values.Add(-8);
    values.Add(2);
    layer.AddArrayField(L"A", values);
    layer.Add(L"field");
    // {field count, sum of the array items, min and max sum}
    for (const auto& c : std::vector<std::tuple<int, bool, double, double>>{{1, true, 3, 12}, {1, false, 0, 6}, {0, true, 1, 4}}) {
        layer.CalExtremumvValue(1, 4, BsxRect2D(), std::get<0>(c), std::get<1>(c));
        EXPECT_EQ(std::make_pair(layer.GetMinSum(), layer.GetMaxSum()), std::make_pair(std::get<2>(c), std::get<3>(c)));
    }
}

TEST_F(GraphGeometryTest, SizeRangeAndGraduatedModes)
{
    Items(1, KrTheme3DGraph::GraphBar);
    std::vector<double> values{50};
    // Top and bottom equal: the range is the top; both zero: the range is 1
    graph.CalExtremumvValue(80, 80, BsxRect2D(), 0, false);
    EXPECT_DOUBLE_EQ(Part<KrGeoCylinder>(*Draw(values), 0)->GetHeight(), 100 - 80 * 30.0 / 80);
    graph.CalExtremumvValue(0, 0, BsxRect2D(), 0, false);
    EXPECT_DOUBLE_EQ(Part<KrGeoCylinder>(*Draw(values), 0)->GetHeight(), 100 - 80 * -50.0);

    graph.CalExtremumvValue(0, 100, BsxRect2D(), 0, false);
    graph.SetGraduatedMode(KrTheme3DGraph::GraduatedSquareRoot);
    values = {25};
    EXPECT_DOUBLE_EQ(Part<KrGeoCylinder>(*Draw(values), 0)->GetHeight(), 100 - 80 * 5.0 / 10);
    graph.SetGraduatedMode(KrTheme3DGraph::GraduatedLogarithm);
    values = {7};
    EXPECT_DOUBLE_EQ(Part<KrGeoCylinder>(*Draw(values), 0)->GetHeight(), 100); // bottom -inf
    graph.CalExtremumvValue(1, 100, BsxRect2D(), 0, false);
    values = {0.5}; // below 1 the scaled total is negative and the height is not clamped
    EXPECT_LT(Part<KrGeoCylinder>(*Draw(values), 0)->GetHeight(), 20);
}

TEST_F(GraphGeometryTest, EmptyAndHostileInputGiveDefinedCharts)
{
    Items(2, KrTheme3DGraph::GraphBar);
    std::vector<double> values{0, 0};
    EXPECT_EQ(Shape(*Draw(values)), "");
    EXPECT_EQ(values, (std::vector<double>{0.001, 0.001}));
    for (unsigned count : {0u, 7u}) {
        std::unique_ptr<KrGeometry> none(graph.ConvertToGeometry(nullptr, count, BsxPoint3D()));
        ASSERT_TRUE(none);
        EXPECT_EQ(static_cast<KrGeoCompound*>(none.get())->GetCount(), 0);
    }

    for (int type : {KrTheme3DGraph::GraphBar, KrTheme3DGraph::GraphStackedBar, KrTheme3DGraph::GraphPie}) {
        Items(2, type);
        graph.SetShowItemText(true);
        for (std::vector<double> bad : {std::vector<double>{kNaN, 1}, {kInf, 1}, {-kInf, 2}, {1e308, 1e308}, {-5, 2}}) {
            for (double lat : {90.0, -90.0, 45.0}) {
                std::vector<double> v = bad;
                std::unique_ptr<KrGeometry> g(graph.ConvertToGeometry(v.data(), 2, BsxPoint3D(0, lat, 0)));
                EXPECT_FALSE(std::isnan(v[0]) || v[0] <= 0) << type;
            }
        }
    }
    Items(1, 5);
    values = {1};
    EXPECT_EQ(Draw(values), nullptr);
}

TEST_F(GraphGeometryTest, FactoryThatGivesNothing)
{
    Items(3, KrTheme3DGraph::GraphBar);
    graph.SetShowItemText(true);
    std::vector<double> values{1, 2, 3};
    KrGeometryManager::SetAllowance(KrGeometry::GEO_COMPOUND, 0);
    EXPECT_EQ(Draw(values), nullptr);
    KrGeometryManager::SetAllowance(KrGeometry::GEO_COMPOUND, -1);

    // The second cylinder is not given: its bar is skipped, its text and the others stay
    KrGeometryManager::SetAllowance(KrGeometry::GEO_CYLINDER, 1);
    EXPECT_EQ(Shape(*Draw(values)), "BTTT");

    Items(2, KrTheme3DGraph::GraphPie);
    KrGeometryManager::SetAllowance(KrGeometry::GEO_PIECYLINDER, 0);
    values = {1, 2};
    EXPECT_EQ(Shape(*Draw(values)), "TT");
}

namespace {
struct TextProbe : KrTheme3DGraph {
    using KrTheme3DGraph::GetItemString;
};
} // namespace

TEST_F(GraphGeometryTest, ItemTextsByFormat)
{
    TextProbe probe;
    probe.Add(L"A");
    probe.Add(L"B");
    struct Case {
        int format;
        double value, total;
        const wchar_t* text;
    };
    for (const Case& c : {Case{1, 12.5, 50, L"25.0%"}, Case{2, 12.5, 50, L"12.5"}, Case{2, 3, 50, L"3"},
                          Case{3, 12.5, 50, L"B"}, Case{4, 12.5, 50, L"B 25.0%"}, Case{5, 12.5, 50, L"B 12.5"},
                          Case{9, 1, 3, L"33.3%"}, Case{1, 1, 0, L""}, Case{4, 1, 1e-11, L""}, Case{2, 100, 1, L"100"}}) {
        probe.SetItemTextFormat(c.format);
        EXPECT_EQ(probe.GetItemString(c.value, 1, c.total), c.text) << c.format;
    }
    probe.SetItemTextFormat(KrTheme3DGraph::TextCaption);
    EXPECT_THROW(probe.GetItemString(1, 2, 1), std::out_of_range);

    // Trailing points go from what is drawn, not from the caption
    Items(2, KrTheme3DGraph::GraphBar);
    graph.SetItemTextFormat(KrTheme3DGraph::TextCaption);
    graph.SetShowItemText(true);
    std::vector<double> values{1, 1};
    auto chart = Draw(values);
    EXPECT_EQ(Part<KrGeoText3D>(*chart, 1)->GetSubText(0).GetText(), L"A");
    EXPECT_EQ(graph.GetItem(0).Caption, L"A.");
}
