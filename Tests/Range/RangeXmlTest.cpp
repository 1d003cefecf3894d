#include <gtest/gtest.h>

#include "KrMarkup.h"
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

BsxUnicodeString Escaped(const wchar_t* text)
{
    BsxUnicodeString s(text);
    s.Replace(L"<", L"&lt;");
    s.Replace(L">", L"&gt;");
    return s;
}

// A document with a minimal base part and the given range entries
BsxUnicodeString Document(const std::vector<std::pair<const wchar_t*, const wchar_t*>>& entries,
                          const wchar_t* descending = L"FALSE")
{
    BsxUnicodeString xml = L"<tdx:Theme3D><tdx:Type>2</tdx:Type><tdx:FieldExpression>V</tdx:FieldExpression>"
                           L"<tdx:Range3DMethod>4</tdx:Range3DMethod><tdx:RangeItems tdx:Descending=\"";
    xml += descending;
    xml += L"\">";
    for (const auto& e : entries) {
        xml += L"<tdx:RangeItem><tdx:RangeValue>";
        xml += Escaped(e.first);
        xml += L"</tdx:RangeValue><tdx:Caption>";
        xml += e.second;
        xml += L"</tdx:Caption></tdx:RangeItem>";
    }
    return xml + L"</tdx:RangeItems></tdx:Theme3D>";
}

std::vector<std::string> RangeTexts(const BsxUnicodeString& xml)
{
    std::vector<std::string> texts;
    KrMarkup m(xml.Cstr());
    if (!m.FindChildElem(L"tdx:RangeItems") || !m.IntoElem()) return texts;
    while (m.FindChildElem(L"tdx:RangeItem")) {
        m.IntoElem();
        texts.push_back(m.FindChildElem(L"tdx:RangeValue") ? m.GetChildData().ToUtf8() : "?");
        m.OutOfElem();
    }
    return texts;
}

} // namespace

TEST(KrTheme3DRangeXmlTest, WritesTheGoldenDocumentAndReadsItBack)
{
    const Range small = Small();
    T3DTest::ExpectGolden("range_small.xml", small.ToXML(0, L"/d"));
    EXPECT_EQ(small.ToXML(20090106, L"/d"), small.ToXML(0, L"/d"));
    // The theme keeps its absolute icon name; the document holds the relative one
    EXPECT_EQ(small.GetStyleAt(0).GetIconName(), L"/d/icons/a.png");

    Range back;
    back.Add(99, KrTheme3DItem());
    ASSERT_TRUE(back.FromXML(T3DTest::ReadData("range_small.xml"), 20120328, L"/e"));
    EXPECT_EQ(Breaks(back), (std::vector<double>{10, 20}));
    EXPECT_EQ(back.GetFieldName(true), L"POP as Theme3DRange_2");
    EXPECT_EQ(back.GetStyleAt(0).GetIconName(), L"/e/icons/a.png");
}

TEST(KrTheme3DRangeXmlTest, BothOrdersAndTheirPrecisionSurviveADocument)
{
    Range down;
    down.SetDescending(true);
    for (double b : {20.0, 10.0, -2.25}) down.Add(b, KrTheme3DItem());
    for (int i = 0; i < 4; ++i) down.SetCaptionAt(i, BsxUnicodeString(std::wstring(1, static_cast<wchar_t>(L'a' + i))));
    const BsxUnicodeString xml = down.ToXML(0, L"");
    EXPECT_EQ(RangeTexts(xml), (std::vector<std::string>{"X>=20", "10<=X<20", "-2.25<=X<10", "X<-2.25"}));
    Range back;
    ASSERT_TRUE(back.FromXML(xml, 0, L""));
    EXPECT_TRUE(back.IsDescending());
    EXPECT_EQ(Breaks(back), (std::vector<double>{20, 10, -2.25}));
    EXPECT_EQ(back.ToXML(0, L""), xml);
    EXPECT_EQ(T3DTest::ItemOf(back, 10), 1);

    Range tiny;
    for (double b : {1e-20, 0.1, 1234567.125}) tiny.Add(b, KrTheme3DItem());
    const BsxUnicodeString tinyXml = tiny.ToXML(0, L"");
    EXPECT_EQ(RangeTexts(tinyXml), (std::vector<std::string>{"X<0", "0<=X<0.1", "0.1<=X<1234567.125", "X>=1234567.125"}));
    ASSERT_TRUE(back.FromXML(tinyXml, 0, L""));
    EXPECT_EQ(Breaks(back), (std::vector<double>{0, 0.1, 1234567.125}));
    EXPECT_FALSE(back.IsDescending());

    // An empty theme writes an empty list and reads back empty
    ASSERT_TRUE(back.FromXML(Range().ToXML(0, L""), 0, L""));
    EXPECT_EQ(back.GetCount(), 0);
}

TEST(KrTheme3DRangeXmlTest, BreaksComeFromTheLowerBoundOfEachRangeText)
{
    Range r;
    ASSERT_TRUE(r.FromXML(Document({{L"15", L"a"}, {L"16", L"b"}, {L"", L"c"}}), 0, L""));
    EXPECT_EQ(r.GetCount(), 0);
    EXPECT_EQ(r.GetClassType(), Class3DQuantile);
    EXPECT_EQ(r.GetExpression(), L"V");

    ASSERT_TRUE(r.FromXML(Document({{L"X<10", L"a"}, {L"10<=X<20", L"b"}, {L"10<=X<30", L"c"}, {L"X>=30", L"d"}}), 0, L""));
    EXPECT_EQ(Breaks(r), (std::vector<double>{10, 30}));
    ASSERT_EQ(r.GetCount(), 3);
    EXPECT_EQ(r.GetCaptionAt(0), L"a");
    EXPECT_EQ(r.GetCaptionAt(2), L"c");
    // Entries without a modelling element read as enabled
    EXPECT_TRUE(r.GetAt(0)->ModellingStyleEnabled);

    ASSERT_TRUE(r.FromXML(Document({{L"X>= 7 ", L"a"}, {L" 3 <=X<7", L"b"}, {L"<=5", L"c"}, {L"X<3", L"d"}}, L"true"), 0, L""));
    EXPECT_TRUE(r.IsDescending());
    EXPECT_EQ(Breaks(r), (std::vector<double>{7, 3}));

    // Missing fields take the previous entry's values
    const BsxUnicodeString partial =
        L"<tdx:Theme3D><tdx:Type>2</tdx:Type><tdx:RangeItems>"
        L"<tdx:RangeItem><tdx:RangeValue>X&lt;1</tdx:RangeValue><tdx:Caption>first</tdx:Caption>"
        L"<tdx:StyleEnable>false</tdx:StyleEnable><tdx:ModellingStyleEnabled>FALSE</tdx:ModellingStyleEnabled></tdx:RangeItem>"
        L"<tdx:RangeItem><tdx:RangeValue>1&lt;=X</tdx:RangeValue></tdx:RangeItem>"
        L"</tdx:RangeItems></tdx:Theme3D>";
    ASSERT_TRUE(r.FromXML(partial, 0, L""));
    EXPECT_FALSE(r.IsDescending());
    EXPECT_EQ(Breaks(r), (std::vector<double>{1}));
    EXPECT_EQ(r.GetCaptionAt(1), L"first");
    EXPECT_FALSE(r.IsVisibleAt(1));
    EXPECT_FALSE(r.GetAt(0)->ModellingStyleEnabled);
    EXPECT_TRUE(r.GetAt(1)->ModellingStyleEnabled);
    EXPECT_EQ(r.GetExpression(), L"V"); // absent: kept from the previous document

    // Without a list the theme has no ranges
    ASSERT_TRUE(r.FromXML(L"<tdx:Theme3D><tdx:Type>2</tdx:Type></tdx:Theme3D>", 0, L""));
    EXPECT_EQ(r.GetCount(), 0);
}
