#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "Kr3DGraphItem.h"
#include "KrTheme3DGraph.h"
#include "TestSupport.h"

using namespace BSX;
using namespace KRN;
using T3DTest::LogIds;

namespace {
// A theme with every member away from its default
KrTheme3DGraph Configured()
{
    KrTheme3DGraph g;
    g.SetGraphType(KrTheme3DGraph::GraphStackedBar); g.SetBarWidth(12756.274); g.SetStartAngle(90);
    g.SetShowItemText(true); g.SetItemTextFormat(KrTheme3DGraph::TextCaptionValue);
    g.SetGraduatedMode(KrTheme3DGraph::GraduatedLogarithm);
    g.CalExtremumvValue(2.5, 400, BsxRect2D(0, 0, 36, 18), 0, false);
    g.SetMinSumSize(10);
    KrTextStyle text = g.GetItemTextStyle();
    text.SetFaceName(L"TextStyle Sans");
    text.SetBold(true);
    g.SetItemTextStyle(text);
    g.Add(L"POP");
    KrStyle style;
    style.SetFillStyle(3);
    style.SetLineWidth(0.25);
    g.SetStyleAt(0, style);
    BsxArray<double> values;
    for (double v : {1.5, 2.0}) values.Add(v);
    g.AddArrayField(L"Sales & <costs>", values);
    BsxArray<int> keys;
    for (int k : {10, -20}) keys.Add(k);
    g.SetJoinArrayField(keys);
    return g;
}

std::vector<int> Keys(KrTheme3DGraph& g)
{
    return std::vector<int>(g.GetJoinArrayField().begin(), g.GetJoinArrayField().end());
}

BsxUnicodeString Without(BsxUnicodeString xml, const wchar_t* element)
{
    const BsxUnicodeString open = BsxUnicodeString(L"<") + element + L">";
    const BsxUnicodeString close = BsxUnicodeString(L"</") + element + L">";
    const int from = xml.Find(open.Cstr());
    const int to = xml.Find(close.Cstr(), from);
    return xml.Left(from) + xml.Mid(to + close.GetLength());
}
} // namespace

TEST(KrTheme3DGraphXmlTest, RoundTripAndGoldenText)
{
    KrTheme3DGraph g = Configured(), back;
    T3DTest::ExpectGolden("graph_configured.xml", g.ToXML(0, L""));
    EXPECT_EQ(g.ToXML(20090106, L"ignored"), g.ToXML(0, L""));
    back.SetModifiedFlag(false);
    ASSERT_TRUE(back.FromXML(T3DTest::ReadData("graph_configured.xml"), 0, L""));
    EXPECT_TRUE(back.IsModified());
    EXPECT_EQ(back.ToXML(0, L""), g.ToXML(0, L""));
}

TEST(KrTheme3DGraphXmlTest, VersionsAndTheLog)
{
    KrTheme3DGraph g = Configured();
    // Other revisions carry the base part only
    const BsxUnicodeString base = g.KrTheme3D::ToXML(12345, L"");
    EXPECT_EQ(g.ToXML(12345, L""), base);
    EXPECT_EQ(base.Find(L"tdx:GraphType"), -1);

    KrTheme3DGraph old = Configured();
    old.SetModifiedFlag(false);
    ASSERT_TRUE(old.FromXML(KrTheme3DGraph().ToXML(0, L""), 20031212, L""));
    EXPECT_EQ(old.GetCount(), 0);
    EXPECT_TRUE(old.IsModified());
    EXPECT_EQ(old.GetGraphType(), 12);
    EXPECT_EQ(Keys(old), (std::vector<int>{10, -20}));

    T3DTest::ClearLog();
    KrTheme3DGraph other = Configured();
    EXPECT_FALSE(other.FromXML(L"", 0, L""));
    EXPECT_FALSE(other.FromXML(L"<tdx:Other/>", 0, L""));
    EXPECT_EQ(LogIds(), (std::vector<std::string>{"EGg040", "EGg040"}));
    EXPECT_EQ(other.GetCount(), 2);
    EXPECT_NE(KrLogFile::GetInstance(false)->GetRecords().back().message.Find(L"KrTheme3DGraph"), -1);

    // Whatever kind the base part names, the theme stays a graph theme
    BsxUnicodeString foreign = g.ToXML(0, L"");
    foreign.Replace(L"<tdx:Type>4</tdx:Type>", L"<tdx:Type>2</tdx:Type>");
    EXPECT_TRUE(other.FromXML(foreign, 0, L""));
    EXPECT_EQ(other.GetType(), KrTheme3D::Theme3DGraph);
}

TEST(KrTheme3DGraphXmlTest, KeywordsOrderAndMissingElements)
{
    KrTheme3DGraph g;
    g.SetGraphType(5);
    g.SetGraduatedMode(7);
    g.SetItemTextFormat(0);
    BsxUnicodeString xml = g.ToXML(0, L"");
    for (const wchar_t* written : {L"<tdx:GraphType>Pie</tdx:GraphType>", L"<tdx:GraduatedMode>SquareRoot</tdx:GraduatedMode>",
                                   L"<tdx:ItemTextFormat>Percent</tdx:ItemTextFormat>"})
        EXPECT_NE(xml.Find(written), -1) << T3DTest::U8(written);
    EXPECT_EQ(xml.Find(L"tdx:KeyNum"), -1);
    KrTheme3DGraph back = Configured();
    ASSERT_TRUE(back.FromXML(xml, 0, L""));
    EXPECT_EQ(std::vector<int>({back.GetGraphType(), back.GetGraduatedMode(), back.GetItemTextFormat()}),
              std::vector<int>({6, 1, 1}));
    EXPECT_EQ(Keys(back), (std::vector<int>{10, -20})); // no key elements: the keys stay

    // Keywords read ignoring case; an unknown one reads as a pie
    for (const auto& k : std::vector<std::pair<const wchar_t*, int>>{{L">stackedbar<", 12}, {L">BAR<", 4}, {L">Column<", 6}}) {
        BsxUnicodeString typed = xml;
        typed.Replace(L">Pie<", k.first);
        ASSERT_TRUE(back.FromXML(typed, 0, L""));
        EXPECT_EQ(back.GetGraphType(), k.second) << T3DTest::U8(k.first);
    }

    // The start angle moved before the graph type is not found; a missing element disturbs
    // nothing after it
    BsxUnicodeString moved = Configured().ToXML(0, L"");
    moved = Without(moved, L"tdx:StartAngle");
    moved.Replace(L"<tdx:GraphType>", L"<tdx:StartAngle>45</tdx:StartAngle><tdx:GraphType>");
    moved = Without(moved, L"tdx:MaxSum");
    KrTheme3DGraph reader;
    reader.SetStartAngle(7);
    ASSERT_TRUE(reader.FromXML(moved, 0, L""));
    EXPECT_EQ(reader.GetStartAngle(), 7);
    EXPECT_EQ(reader.GetMaxSum(), 0);
    EXPECT_EQ(reader.GetSqrtMaxSum(), 20);
    EXPECT_EQ(reader.GetCount(), 2);

    BsxUnicodeString keys = Configured().ToXML(0, L"");
    keys.Replace(L"<tdx:KeyNum>2</tdx:KeyNum>", L"<tdx:KeyNum>3</tdx:KeyNum>");
    keys = Without(keys, L"tdx:Key1");
    ASSERT_TRUE(reader.FromXML(keys, 0, L""));
    EXPECT_EQ(Keys(reader), (std::vector<int>{10, 0, 0}));
    // Keys out of order: after key 1 the forward search no longer finds key 0
    keys.Replace(L"<tdx:Key0>10</tdx:Key0>", L"");
    keys.Replace(L"</tdx:KeyNum>", L"</tdx:KeyNum><tdx:Key1>5</tdx:Key1><tdx:Key2>6</tdx:Key2><tdx:Key0>4</tdx:Key0><tdx:Key01>9</tdx:Key01>");
    ASSERT_TRUE(reader.FromXML(keys, 0, L""));
    EXPECT_EQ(Keys(reader), (std::vector<int>{4, 0, 0}));
    // A claimed count is not an allocation
    keys.Replace(L"<tdx:KeyNum>3</tdx:KeyNum>", L"<tdx:KeyNum>2000000000</tdx:KeyNum>");
    ASSERT_TRUE(reader.FromXML(keys, 0, L""));
    EXPECT_LE(reader.GetJoinArrayField().GetSize(), keys.GetLength());
    EXPECT_EQ(reader.GetJoinArrayField()[1], 0);
}

TEST(Kr3DGraphItemXmlTest, RecordFormsAndCarryOver)
{
    Kr3DGraphItem item;
    item.Type = Kr3DGraphItem::ArrayItem;
    item.ArrayValues.Add(1.5);
    item.ArrayValues.Add(2);
    // The array form is in the golden theme document; a field item writes no values
    const BsxUnicodeString xml = item.ToXML(0);
    item.Type = 1;
    EXPECT_EQ(item.ToXML(0).Find(L"ArrayField"), -1);

    Kr3DGraphItem back;
    BsxUnicodeString partial = xml;
    partial.Replace(L"<tdx:ArrayFieldNum>2<", L"<tdx:ArrayFieldNum>3<");
    partial = Without(partial, L"tdx:ArrayField1");
    ASSERT_TRUE(back.FromXML(partial, 0));
    EXPECT_EQ(back.Type, 2);
    EXPECT_EQ(back.ArrayValues.GetSize(), 3);
    EXPECT_EQ(back.ArrayValues[0], 1.5);
    EXPECT_EQ(back.ArrayValues[2], 0);

    KrStyle geo;
    geo.SetFillStyle(4);
    geo.SetLineWidth(3);
    BsxUnicodeString old = L"<tdx:GraphItem><tdx:Caption>c</tdx:Caption>";
    old += geo.ToXML(0, L"tdx:GeoStyle");
    old += L"<tdx:Type>4294967295</tdx:Type><tdx:ArrayFieldNum>2000000000</tdx:ArrayFieldNum></tdx:GraphItem>";
    ASSERT_TRUE(back.FromXML(old, 20031212));
    EXPECT_EQ(back.Caption, L"c");
    EXPECT_EQ(back.Style, geo);
    EXPECT_EQ(back.Type, -1); // the unsigned reading's 32 bits
    Kr3DGraphItem reread;
    ASSERT_TRUE(reread.FromXML(back.ToXML(0), 0));
    EXPECT_EQ(reread.Type, -1);
    EXPECT_LE(back.ArrayValues.GetSize(), old.GetLength());

    EXPECT_FALSE(back.FromXML(L"", 0));
    EXPECT_NE(KrLogFile::GetInstance(false)->GetRecords().back().message.Find(L"KrGraphItem"), -1);

    // Within a theme one item carries over: an array record without values takes the
    // previous record's
    KrTheme3DGraph g = Configured();
    g.SetCaptionAt(0, L"first", g.GetItem(1).ArrayValues);
    g.SetCaptionAt(1, L"second", BsxArray<double>());
    KrTheme3DGraph reader;
    ASSERT_TRUE(reader.FromXML(g.ToXML(0, L""), 0, L""));
    ASSERT_EQ(reader.GetCount(), 2);
    EXPECT_EQ(reader.GetItem(1).ArrayValues.GetSize(), 2);
    EXPECT_EQ(reader.GetItem(1).Caption, L"second");
}
