#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "Kr3DGraphItem.h"
#include "KrTheme3DGraph.h"
#include "TestSupport.h"

using namespace BSX;
using namespace KRN;

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
    g.AddArrayField(L"Sales & <costs>", T3DTest::Array({1.5, 2.0}));
    BsxArray<int> keys;
    for (int k : {10, -20}) keys.Add(k);
    g.SetJoinArrayField(keys);
    return g;
}

std::vector<int> Keys(KrTheme3DGraph& g)
{
    return std::vector<int>(g.GetJoinArrayField().begin(), g.GetJoinArrayField().end());
}

} // namespace

TEST(KrTheme3DGraphXmlTest, RoundTripAndGoldenText)
{
    KrTheme3DGraph g = Configured(), back;
    T3DTest::ExpectGolden("graph_configured.xml", g.ToXML(0, L""));
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

    // The refusal's record names the class (the broken documents check the refusals)
    EXPECT_FALSE(old.FromXML(L"", 0, L""));
    EXPECT_NE(KrLogFile::GetInstance(false)->GetRecords().back().message.Find(L"KrTheme3DGraph"), -1);
}

TEST(KrTheme3DGraphXmlTest, CodesWithoutAKeywordAreWrittenAsTheFallback)
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

    // Keywords in any case or none a table knows, elements out of order or missing, and keys
    // claimed but missing or out of order: the documents graph_*.read.xml under Tests/Data/broken
}

// Values claimed but missing, and an array record without values taking the record's before it:
// the documents graph*_values_*.read.xml under Tests/Data/broken
TEST(Kr3DGraphItemXmlTest, OldestRecordFormAndTheLog)
{
    KrStyle geo;
    geo.SetFillStyle(4);
    geo.SetLineWidth(3);
    BsxUnicodeString old = L"<tdx:GraphItem><tdx:Caption>c</tdx:Caption>";
    old += geo.ToXML(0, L"tdx:GeoStyle");
    old += L"<tdx:Type>4294967295</tdx:Type><tdx:ArrayFieldNum>2000000000</tdx:ArrayFieldNum></tdx:GraphItem>";
    Kr3DGraphItem back;
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
}
