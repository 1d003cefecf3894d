#include <gtest/gtest.h>

#include "KrStyle.h"
#include "RangeTestSupport.h"
#include "TestSupport.h"

using namespace BSX;
using namespace KRN;
using T3DTest::Breaks;
using T3DTest::Range;

namespace {

// A small theme: ascending breaks 10, 20 with three distinct items
Range Small()
{
    Range r;
    r.SetExpression(L"POP");
    r.SetAliasSuffix(L"_2");
    r.MakeDefault(0, 3, T3DTest::Array({0, 30}), BsxArray<double>(), 0);
    const wchar_t* captions[] = {L"low", L"mid", L"high"};
    for (int i = 0; i < 3; ++i) {
        KrTheme3DItem item;
        item.Caption = captions[i];
        item.Visible = i != 1;
        item.ModellingStyleEnabled = i == 2;
        item.Style.SetLineWidth(1.5 + i);
        item.Style.SetFillStyle(i);
        r.SetAt(i, item);
    }
    KrStyle iconic = r.GetStyleAt(0);
    iconic.SetIconName(L"/d/icons/a.png");
    r.SetStyleAt(0, iconic);
    return r;
}

} // namespace

TEST(KrTheme3DRangeXmlTest, WritesTheGoldenDocumentAndReadsItBack)
{
    const Range small = Small();
    T3DTest::ExpectGolden("range_small.xml", small.ToXML(0, L"/d"));
    // The theme keeps its absolute icon name; the document holds the relative one
    EXPECT_EQ(small.GetStyleAt(0).GetIconName(), L"/d/icons/a.png");

    Range back;
    back.Add(99, KrTheme3DItem());
    ASSERT_TRUE(back.FromXML(T3DTest::ReadData("range_small.xml"), 20120328, L"/e"));
    EXPECT_EQ(Breaks(back), (std::vector<double>{10, 20}));
    EXPECT_EQ(back.GetFieldName(true), L"POP as Theme3DRange_2");
    EXPECT_EQ(back.GetStyleAt(0).GetIconName(), L"/e/icons/a.png");
}

// How the texts of descending documents are written and read, and the texts of odd documents
// (spaces, texts without a lower bound, entries that leave out fields), is pinned by the
// documents range_*.read.xml under Tests/Data/broken and what the theme writes after them
TEST(KrTheme3DRangeXmlTest, DescendingBreaksAndAnEmptyListSurviveADocument)
{
    Range down;
    down.SetDescending(true);
    for (double b : {20.0, 10.0, -2.25}) down.Add(b, KrTheme3DItem());
    Range back;
    ASSERT_TRUE(back.FromXML(down.ToXML(0, L""), 0, L""));
    EXPECT_TRUE(back.IsDescending());
    EXPECT_EQ(Breaks(back), (std::vector<double>{20, 10, -2.25}));
    EXPECT_EQ(T3DTest::ItemOf(back, 10), 1);

    ASSERT_TRUE(back.FromXML(Range().ToXML(0, L""), 0, L""));
    EXPECT_FALSE(back.IsDescending());
    EXPECT_EQ(back.GetCount(), 0);
}
