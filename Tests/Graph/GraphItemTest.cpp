#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Kr3DGraph.h"
#include "Kr3DGraphItem.h"
#include "TestSupport.h"

using namespace BSX;
using namespace KRN;

namespace {
Kr3DGraphItem ArrayItem(const wchar_t* caption, std::initializer_list<double> values)
{
    Kr3DGraphItem item;
    item.Caption = caption;
    item.Type = Kr3DGraphItem::ArrayItem;
    for (double v : values) item.ArrayValues.Add(v);
    return item;
}
} // namespace

TEST(Kr3DGraphTest, AddSetCountAndRemoveAt)
{
    // What Add makes of an expression shows in the golden graph document
    Kr3DGraph graph;
    EXPECT_EQ(graph.Add(L"E"), 0);

    Kr3DGraph empty;
    empty.SetCount(3);
    EXPECT_EQ(empty.GetCount(), 3);
    EXPECT_EQ(empty.GetCaptionAt(2), L"");

    graph.InsertAt(-1, ArrayItem(L"second", {4, 5}));
    graph.SetCount(5);
    ASSERT_EQ(graph.GetCount(), 5);
    EXPECT_EQ(graph.GetCaptionAt(0), L"E");
    for (int i = 1; i < 5; ++i) {
        EXPECT_EQ(graph.GetCaptionAt(i), L"second");
        EXPECT_EQ(graph.GetItem(i).ArrayValues.GetSize(), 2);
    }
    graph.SetCount(0);
    graph.SetCount(-2);
    EXPECT_EQ(graph.GetCount(), 5);
    graph.SetCount(1);
    ASSERT_EQ(graph.GetCount(), 1);
    EXPECT_EQ(graph.GetCaptionAt(0), L"E");

    Kr3DGraph four;
    four.SetCount(4);
    for (const auto& bad : std::vector<std::pair<int, int>>{{4, 1}, {-1, 1}, {1, 0}}) EXPECT_EQ(four.RemoveAt(bad.first, bad.second), 0);
    EXPECT_EQ(four.RemoveAt(1, 10), 3);
    EXPECT_EQ(four.GetCount(), 1);

    EXPECT_THROW(four.GetItem(1), std::out_of_range);
    EXPECT_THROW(four.SetCaptionAt(-1, L"x"), std::out_of_range);
    EXPECT_THROW(four.GetStyleAt(5), std::out_of_range);
    EXPECT_EQ(four.GetCount(), 1);
}

TEST(Kr3DGraphTest, ShiftingItemsCarriesTheirOwnValues)
{
    // Inserting and removing in the middle moves items along; each must keep its own array,
    // an empty one included
    Kr3DGraph graph;
    graph.InsertAt(-1, ArrayItem(L"a", {1}));
    graph.Add(L"field");
    graph.InsertAt(-1, ArrayItem(L"c", {3, 3}));
    graph.InsertAt(0, ArrayItem(L"first", {0.5}));
    graph.RemoveAt(1, 1);
    ASSERT_EQ(graph.GetCount(), 3);
    EXPECT_EQ(graph.GetCaptionAt(1), L"field");
    EXPECT_TRUE(graph.GetItem(1).ArrayValues.IsEmpty());
    EXPECT_EQ(graph.GetItem(2).ArrayValues.GetSize(), 2);
}

TEST(Kr3DGraphTest, AssignmentGoesItemByItemKeepingValuesTheSourceLacks)
{
    Kr3DGraph target;
    target.InsertAt(-1, ArrayItem(L"old", {7, 8}));
    target.InsertAt(-1, ArrayItem(L"gone", {1}));
    target.SetBarWidth(3);
    Kr3DGraph source;
    source.Add(L"new");
    KrStyle style;
    style.SetLineWidth(4);
    source.SetStyleAt(0, style);
    source.SetGraphType(12);
    target = source;
    ASSERT_EQ(target.GetCount(), 1);
    const Kr3DGraphItem& item = target.GetItem(0);
    EXPECT_EQ(item.Caption + L"|" + item.FieldExpression, L"new|new");
    EXPECT_EQ(item.Style, style);
    EXPECT_EQ(item.Type, 1);
    // The item whose source has no values keeps the ones it had; a source with values replaces them
    EXPECT_EQ(item.ArrayValues.GetSize(), 2);
    EXPECT_EQ(target.GetGraphType(), 12);
    EXPECT_EQ(target.GetBarWidth(), 0);
    Kr3DGraphItem replaced = item;
    replaced = ArrayItem(L"u", {9});
    EXPECT_EQ(replaced.ArrayValues.GetSize(), 1);
    // A temporary without values is assigned by the same rule
    replaced = Kr3DGraphItem();
    EXPECT_EQ(replaced.Caption + L"|" + std::to_wstring(replaced.Type).c_str(), L"|1");
    EXPECT_EQ(replaced.ArrayValues.GetSize(), 1);

    Kr3DGraph copy(target);
    EXPECT_EQ(copy.GetItem(0).ArrayValues.GetSize(), 2);
    copy.SetCaptionAt(0, L"changed");
    EXPECT_EQ(target.GetCaptionAt(0), L"new");
}
