#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "KrMarkup.h"
#include "KrStyle.h"
#include "KrTextStyle.h"
#include "KrTheme3D.h"
#include "TestSupport.h"

using namespace BSX;
using namespace KRN;

TEST(KrMarkupTest, ChildSearchIsForwardOnlyAndNeverWraps)
{
    KrMarkup m(L"<r><a>1</a><b>2</b><a>3</a><c x='7'>4</c></r>");
    // The first child search takes the root itself
    for (const auto& step : std::vector<std::pair<const wchar_t*, const wchar_t*>>{{L"b", L"2"}, {L"a", L"3"}}) {
        ASSERT_TRUE(m.FindChildElem(step.first));
        EXPECT_EQ(m.GetChildData(), step.second);
    }
    // A miss leaves the current child where it was
    EXPECT_FALSE(m.FindChildElem(L"b"));
    EXPECT_TRUE(m.FindChildElem(L"c"));
    EXPECT_EQ(m.GetChildAttrib(L"x"), L"7");
    EXPECT_EQ(m.GetChildAttrib(L"y"), L"");
    m.ResetChildPos();
    ASSERT_TRUE(m.FindChildElem(L"a"));
    EXPECT_EQ(m.GetChildData(), L"1");
}

TEST(KrMarkupTest, IntoOutOfAndSubDocuments)
{
    KrMarkup m(L"<r><list><i>1</i><i>2</i></list><after/></r>");
    ASSERT_TRUE(m.FindElem(L"r"));
    ASSERT_TRUE(m.FindChildElem(L"list"));
    ASSERT_TRUE(m.IntoElem());
    int count = 0;
    while (m.FindChildElem(L"i")) ++count;
    EXPECT_EQ(count, 2);
    ASSERT_TRUE(m.OutOfElem());
    EXPECT_EQ(m.GetChildTagName(), L"list");
    EXPECT_TRUE(m.FindChildElem(L"after"));
    m.ResetChildPos();
    m.FindChildElem(L"list");
    EXPECT_EQ(m.GetChildSubDoc(), L"<list>\n  <i>1</i>\n  <i>2</i>\n</list>");
}

TEST(KrMarkupTest, WritingElementsAttributesAndFragments)
{
    KrMarkup m;
    ASSERT_TRUE(m.AddElem(L"tdx:GraphItem"));
    m.AddElem(L"tdx:Caption", L"a<b&c", false, true);
    m.SetAttrib(KrMarkup::MNT_CHILD, L"k", L"v\"");
    m.AddElem(L"tdx:Empty", nullptr, false, true);
    ASSERT_TRUE(m.AddSubDoc(L"<tdx:Style><x>1</x></tdx:Style>", false, true));
    EXPECT_FALSE(m.AddSubDoc(L"<broken>", false, true));
    KrMarkup back(m.GetDoc().Cstr());
    ASSERT_TRUE(back.FindChildElem(L"tdx:Caption"));
    EXPECT_EQ(back.GetChildData(), L"a<b&c");
    EXPECT_EQ(back.GetChildAttrib(L"k"), L"v\"");
    EXPECT_TRUE(back.FindChildElem(L"tdx:Empty"));
    EXPECT_TRUE(back.FindChildElem(L"tdx:Style"));
}

TEST(KrMarkupTest, TextAndAttributesComeBackAsWritten)
{
    for (const wchar_t* text : {L" padded ", L"a\rb", L"a\r\nb", L"  ", L"tab\tand\nline"}) {
        KrMarkup m;
        m.AddElem(L"r");
        m.AddElem(L"c", text, false, true);
        m.SetAttrib(KrMarkup::MNT_CHILD, L"k", text);
        KrMarkup back(m.GetDoc().Cstr());
        ASSERT_TRUE(back.FindChildElem(L"c"));
        EXPECT_EQ(back.GetChildData(), text);
        EXPECT_EQ(back.GetChildAttrib(L"k"), text);
    }
}

TEST(KrMarkupTest, MalformedTextIsAnEmptyDocument)
{
    for (const wchar_t* bad : {L"<r><a></r>", L"<r", L"plain text", L"<a/><", L"", L"<r></r><r"}) {
        KrMarkup m(bad);
        EXPECT_FALSE(m.FindElem(L"r")) << BsxUnicodeString(bad).ToUtf8();
        EXPECT_FALSE(m.FindChildElem(L"a"));
        EXPECT_FALSE(m.IntoElem());
        EXPECT_FALSE(m.OutOfElem());
        EXPECT_EQ(m.GetChildData(), L"");
        EXPECT_EQ(m.GetChildSubDoc(), L"");
    }
}

TEST(KrStyleTest, EveryPropertySurvivesItsDocument)
{
    KrStyle s;
    s.SetAltitudeMode(static_cast<AltitudeMode>(77)); s.SetBottomAltitude(1.25f); s.SetExtendHeight(0.1f);
    s.SetMarkerStyle(-4); s.SetMarker3D(true); s.SetIconName(L"icons/\u5317.png"); s.SetIconScale(3.3f);
    s.SetPointColor(KrColorValue3D(0.1, 0.2, 1.0 / 3.0, 1)); s.SetBillBoardMode(BILLBOARD_AXIS);
    s.SetMarker3DScaleX(1e-300); s.SetMarker3DScaleY(2); s.SetMarker3DScaleZ(-3);
    s.SetMarker3DRotateX(45); s.SetMarker3DRotateY(0.7); s.SetMarker3DRotateZ(-90);
    s.SetFillStyle(3); s.SetFillColor(KrColorValue3D(1, 0, 0.5, 0.25)); s.SetFill3DMode(FILL3D_EXTRUDE);
    s.SetLineStyle(9); s.SetLineWidth(2.75); s.SetLineColor3D(KrColorValue3D(0, 1, 0, 1));

    const BsxUnicodeString xml = s.ToXML(20090106, L"");
    EXPECT_EQ(xml.Find(L"<tdx:Style>"), 0);
    KrStyle back;
    ASSERT_TRUE(back.FromXML(xml, 20090106));
    EXPECT_EQ(back, s);
    EXPECT_EQ(s.ToXML(0, L"tdx:DefaultStyle").Find(L"<tdx:DefaultStyle>"), 0);
    EXPECT_FALSE(back.FromXML(L"<tdx:Style>", 0));
    EXPECT_EQ(back, s);

    KrTextStyle t;
    t.SetHalo(true); t.SetSize(20); t.SetHeight(8); t.SetForeColor(BSXRGBA(255, 255, 0, 255));
    t.SetFaceName(L"Noto Sans"); t.SetFixedSize(true); t.SetAlign(6);
    BsxUnicodeString txml = t.ToXML(0);
    EXPECT_EQ(txml.Find(L"<tdx:TextStyle>"), 0);
    txml.Replace(L"TextStyle", L"ItemTextStyle");
    KrTextStyle tback;
    ASSERT_TRUE(tback.FromXML(txml, 0));
    EXPECT_EQ(tback, t);
}

namespace {
class PlainTheme : public KrTheme3D {
public:
    explicit PlainTheme(KrTheme3DType type) { m_type = type; }
};
} // namespace

TEST(KrTheme3DTest, BaseStateRoundTripsAndExternalValues)
{
    PlainTheme t(KrTheme3D::Theme3DRange);
    t.SetExternalValueMode(2);
    t.SetAliasSuffix(L"_7");
    t.SetOffset(3, -4);
    t.SetAlonglineText(true);
    t.SetExternalValue(L"k", L"v");
    t.SetExternalValue(L"a&b", L"<x>");

    BsxUnicodeString same(L"k");
    EXPECT_TRUE(t.GetExternalValue(same, same));
    EXPECT_EQ(same, L"v");
    BsxUnicodeString miss(L"zz");
    EXPECT_FALSE(t.GetExternalValue(miss, miss));
    EXPECT_EQ(miss, L"zz");

    PlainTheme back(KrTheme3D::Theme3DUnique);
    ASSERT_TRUE(back.FromXML(t.ToXML(0, L""), 0, L""));
    EXPECT_EQ(back.GetType(), KrTheme3D::Theme3DRange);
    EXPECT_EQ(back.GetExternalValueMode(), 2);
    EXPECT_EQ(back.GetAliasSuffix(), L"_7");
    int x = 0, y = 0;
    back.GetOffset(x, y);
    EXPECT_EQ(std::make_pair(x, y), std::make_pair(3, -4));
    EXPECT_TRUE(back.IsAlonglineText());
    BsxUnicodeString v;
    EXPECT_TRUE(back.GetExternalValue(L"a&b", v));
    EXPECT_EQ(v, L"<x>");

    PlainTheme other(KrTheme3D::Theme3DLabel);
    EXPECT_FALSE(other.FromXML(L"<tdx:Other/>", 0, L""));
    EXPECT_FALSE(other.FromXML(L"<tdx:Theme3D>", 0, L""));
    EXPECT_EQ(other.GetType(), KrTheme3D::Theme3DLabel);
}

TEST(KrTheme3DTest, VariantConversions)
{
    double d = -1;
    for (const auto& ok : std::vector<std::pair<BsxVariant, double>>{{BsxVariant(static_cast<short>(-5)), -5},
                                                                     {BsxVariant(L" 12.5 "), 12.5}}) {
        EXPECT_TRUE(KrTheme3D::Variant2Double(ok.first, d));
        EXPECT_EQ(d, ok.second);
    }
    // A refused conversion leaves the number alone
    for (const BsxVariant& bad : {BsxVariant(L"12abc"), BsxVariant(L"nan"), BsxVariant()}) {
        EXPECT_FALSE(KrTheme3D::Variant2Double(bad, d));
        EXPECT_EQ(d, 12.5);
    }
    EXPECT_EQ(KrTheme3D::Variant2String(BsxVariant(3)), L"3");
}
