#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "KrTheme3DGraph.h"
#include "TestSupport.h"

using namespace BSX;
using namespace KRN;
using T3DTest::Array;

namespace {
std::vector<std::string> Texts(const BsxArray<BsxUnicodeString>& a)
{
    std::vector<std::string> out;
    for (const auto& s : a) out.push_back(s.ToUtf8());
    return out;
}
} // namespace

TEST(KrTheme3DGraphTest, NewThemeDefaults)
{
    KrTheme3DGraph graph;
    T3DTest::ExpectGolden("graph_new.xml", graph.ToXML(0, L""));
    graph.SetMaxSumSize(100);
    EXPECT_DOUBLE_EQ(graph.GetMaxSize().cx, 141.42135623730951);
    EXPECT_EQ(graph.GetMaxSumSize(), 100);
    graph.SetGraduatedMode(0x102);
    EXPECT_EQ(graph.GetGraduatedMode(), 2);
}

TEST(KrTheme3DGraphTest, OnlyTheListedEditsMarkTheTheme)
{
    KrTheme3DGraph graph;
    graph.Add(L"A");
    graph.AddArrayField(L"Sales", Array({1, 2, 3}));
    const KrStyle style;
    Kr3DGraphItem item;
    struct Edit {
        const char* name;
        bool marks;
        std::function<void()> run;
    };
    const Edit edits[] = {
        {"Add", true, [&] { graph.Add(L"B"); }},
        {"AddArrayField", true, [&] { graph.AddArrayField(L"X", Array({})); }},
        {"RemoveAll", true, [&] { graph.RemoveAll(); graph.Add(L"A"); graph.AddArrayField(L"Sales", Array({1})); }},
        {"GetStyleAt", true, [&] { graph.GetStyleAt(0); }},
        {"SetStyleAt", true, [&] { graph.SetStyleAt(0, style); }},
        {"SetGraphType", true, [&] { graph.SetGraphType(4); }},
        {"InsertArrayFieldAt found", true, [&] { graph.InsertArrayFieldAt(L"Sales", 0, Array({})); }},
        {"RemoveArrayFieldAt found", true, [&] { graph.RemoveArrayFieldAt(L"Sales", 5, 1); }},
        {"SetJoinArrayField", true, [&] { graph.SetJoinArrayField(BsxArray<int>()); }},
        {"InsertJoinArrayFieldAt", true, [&] { graph.InsertJoinArrayFieldAt(0, nullptr, 0); }},
        {"RemoveJoinArrayFieldAt", true, [&] { graph.RemoveJoinArrayFieldAt(3, 0); }},
        {"SetMinSumSize", true, [&] { graph.SetMinSumSize(1); }},
        {"SetMaxSumSize", true, [&] { graph.SetMaxSumSize(1); }},
        {"CalExtremumvValue", true, [&] { graph.CalExtremumvValue(0, 1, BsxRect2D(0, 0, 1, 1), 1, false); }},
        {"Insert", false, [&] { graph.Insert(0, item); }},
        {"RemoveAt", false, [&] { graph.RemoveAt(0); }},
        {"ExchangeItem", false, [&] { graph.ExchangeItem(0, 1); }},
        {"IndexOf", false, [&] { graph.IndexOf(L"a"); }},
        {"SetCount", false, [&] { graph.SetCount(graph.GetCount()); }},
        {"SetExpressionAt", false, [&] { graph.SetExpressionAt(0, L"A"); }},
        {"SetCaptionAt", false, [&] { graph.SetCaptionAt(0, L"A"); }},
        {"InsertArrayFieldAt missing", false, [&] { graph.InsertArrayFieldAt(L"New", -1, Array({1})); }},
        {"RemoveArrayField missing", false, [&] { graph.RemoveArrayField(L"none"); }},
        {"RemoveArrayFieldAt missing", false, [&] { graph.RemoveArrayFieldAt(L"none", 0, 1); }},
        {"settings", false, [&] { graph.SetBarWidth(1); graph.SetStartAngle(2); graph.SetShowItemText(true);
                                  graph.SetItemTextFormat(3); graph.SetGraduatedMode(1); }},
    };
    for (const Edit& edit : edits) {
        graph.SetModifiedFlag(false);
        edit.run();
        EXPECT_EQ(graph.IsModified(), edit.marks) << edit.name;
    }
}

TEST(KrTheme3DGraphTest, ArrayItemsByCaptionAndKeys)
{
    KrTheme3DGraph graph;
    graph.AddArrayField(L"Sales", Array({1, 2, 3}));
    graph.InsertArrayFieldAt(L"Sales", 1, Array({9}));
    EXPECT_EQ(graph.GetItem(0).ArrayValues, Array({1, 9, 2, 3}));
    const double more[] = {7, 8};
    graph.InsertArrayFieldAt(L"Sales", -1, more, 2);
    EXPECT_EQ(graph.GetItem(0).ArrayValues, Array({1, 9, 2, 3, 7, 8}));
    graph.RemoveArrayFieldAt(L"Sales", 4, 10);
    EXPECT_EQ(graph.GetItem(0).ArrayValues, Array({1, 9, 2, 3}));

    graph.InsertArrayFieldAt(L"Costs", 0, Array({5}));
    ASSERT_EQ(graph.GetCount(), 2);
    EXPECT_EQ(graph.GetItem(0).Caption, L"Costs");
    EXPECT_EQ(graph.GetItem(0).Type, 2);
    EXPECT_EQ(graph.GetItem(0).FieldExpression, L"");
    EXPECT_FALSE(graph.RemoveArrayField(L"costs"));
    EXPECT_TRUE(graph.RemoveArrayField(L"Costs"));

    BsxArray<int> keys;
    for (int k : {10, 20, 30}) keys.Add(k);
    graph.SetJoinArrayField(keys);
    graph.SetCaptionAt(0, L"Sales", Array({1.5, 2.5}));
    // A key past the item's values and a key that is not there both answer 0
    for (const auto& k : std::vector<std::pair<int, double>>{{20, 2.5}, {30, 0}, {10, 1.5}, {40, 0}}) {
        double value = -1;
        graph.GetThemeGraphValues(value, 0, k.first);
        EXPECT_EQ(value, k.second) << k.first;
    }
    double value = -1;
    EXPECT_THROW(graph.GetThemeGraphValues(value, 1, 10), std::out_of_range);

    graph.InsertJoinArrayFieldAt(1, graph.GetJoinArrayField());
    EXPECT_EQ(graph.GetJoinArrayField().GetSize(), 6);
    EXPECT_EQ(graph.GetJoinArrayField()[1], 10);
    EXPECT_EQ(graph.RemoveJoinArrayFieldAt(4, 9), 2);
    EXPECT_EQ(graph.RemoveJoinArrayFieldAt(4, 1), 0);

    graph.Add(L"POP");
    ASSERT_TRUE(graph.ExchangeItem(0, 1));
    EXPECT_EQ(graph.GetItem(0).FieldExpression, L"POP");
    EXPECT_EQ(graph.GetItem(1).Caption, L"Sales");
    // The field item had no values, so it keeps the array item's
    EXPECT_EQ(graph.GetItem(0).ArrayValues, Array({1.5, 2.5}));
    EXPECT_EQ(graph.GetItem(1).ArrayValues, Array({1.5, 2.5}));
    EXPECT_FALSE(graph.ExchangeItem(0, 2));
    EXPECT_EQ(graph.IndexOf(L"pop"), 0);
    EXPECT_EQ(graph.IndexOf(L"GDP"), -1);
}

TEST(KrTheme3DGraphTest, QueryFieldsComeFromTheUpdateChart)
{
    KrTheme3DGraph graph;
    graph.SetAliasSuffix(L"_2");
    BsxArray<BsxUnicodeString> fields;
    EXPECT_TRUE(graph.GetThemeQueryDef(fields, false) && !graph.GetThemeQueryDef(fields, true) && fields.IsEmpty());

    graph.Add(L"POP"); graph.AddArrayField(L"Sales", Array({1})); graph.Add(L"GDP");
    EXPECT_FALSE(graph.GetThemeQueryDef(fields, true));
    graph.PrepareTheme();
    EXPECT_TRUE(graph.IsNeedUpdate());
    EXPECT_EQ(graph.GetUpdateGraph().GetCount(), 0);
    graph.UpdateTheme();
    EXPECT_FALSE(graph.IsNeedUpdate());

    graph.RemoveAll(); // editing after the hand-over does not reach the query
    EXPECT_TRUE(graph.GetThemeQueryDef(fields, true));
    EXPECT_EQ(Texts(fields), (std::vector<std::string>{"POP as ThemeGraph_21", "GDP as ThemeGraph_23"}));
    fields.RemoveAll();
    EXPECT_TRUE(graph.GetThemeQueryDef(fields, false));
    EXPECT_EQ(Texts(fields), (std::vector<std::string>{"ThemeGraph_21", "ThemeGraph_22", "ThemeGraph_23"}));
    EXPECT_EQ(graph.GetThemeGraphItemType(1), 2);
    EXPECT_THROW(graph.GetThemeGraphItemType(3), std::out_of_range);
}

TEST(KrTheme3DGraphTest, AssignmentKeepsOwnPreparedAndUpdateCharts)
{
    KrTheme3DGraph target;
    target.Add(L"mine"); target.PrepareTheme(); target.UpdateTheme();
    target.SetModifiedFlag(false);

    KrTheme3DGraph source;
    source.Add(L"A"); source.Add(L"B"); source.SetBarWidth(5); source.SetAliasSuffix(L"x");
    source.SetModifiedFlag(false);
    target = source;
    EXPECT_TRUE(target.IsModified());
    ASSERT_EQ(target.GetUpdateGraph().GetCount(), 1);
    EXPECT_EQ(target.GetUpdateGraph().GetExpressionAt(0), L"mine");
    EXPECT_EQ(target.GetPreparedGraph().GetCount(), 1);

    KrTheme3DGraph copy(target);
    EXPECT_EQ(copy.GetUpdateGraph().GetCount(), 1);
}
