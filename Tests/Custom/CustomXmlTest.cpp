#include <gtest/gtest.h>

#include "KrLogFile.h"
#include "KrMarkup.h"
#include "KrTheme3DCustom.h"
#include "TestSupport.h"

using namespace BSX;
using namespace KRN;

namespace {

// Every expression set, some with characters that XML must escape
KrTheme3DCustom Full()
{
    KrTheme3DCustom t;
    t.SetAliasSuffix(L"_1");
    t.AltitudeMode = L"ALT"; t.BottomAltitude = L"BASE * 2"; t.ExtendHeight = L"HEIGHT";
    t.BillboardMode = L"BB"; t.MarkerStyle = L"MARKER"; t.IconName = L"icons/\u5317 & <pin>.png";
    t.IconScale = L"SCALE"; t.ColorPoint = L"PCOLOR"; t.LineStyle = L"LSTYLE"; t.LineWidth = L"LW";
    t.LineColor = L"LCOLOR"; t.FillStyle = L"FSTYLE"; t.Fill3DMode = L"F3D"; t.FillForeColor = L"FCOLOR";
    t.ScaleX = L"SX"; t.ScaleY = L"SY"; t.ScaleZ = L"SZ"; t.RotateX = L"RX"; t.RotateY = L"RY"; t.RotateZ = L"RZ";
    return t;
}

} // namespace

TEST(KrTheme3DCustomXmlTest, WritesTheGoldenDocumentAndReadsItBack)
{
    const KrTheme3DCustom full = Full();
    T3DTest::ExpectGolden("custom_all.xml", full.ToXML(0, L"/some/dir"));
    KrTheme3DCustom back;
    ASSERT_TRUE(back.FromXML(T3DTest::ReadData("custom_all.xml"), 20120328, L""));
    EXPECT_EQ(back.ToXML(0, L""), full.ToXML(0, L""));

    // One expression gives one child; none gives an empty container
    KrTheme3DCustom one;
    one.RotateZ = L"R";
    KrMarkup m(one.ToXML(0, L"").Cstr());
    ASSERT_TRUE(m.FindChildElem(L"tdx:FieldExpression"));
    ASSERT_TRUE(m.IntoElem());
    ASSERT_TRUE(m.FindChildElem());
    EXPECT_EQ(m.GetChildTagName(), L"tdx:RotateZ");
    EXPECT_FALSE(m.FindChildElem());
    one.SetEmpty();
    KrMarkup none(one.ToXML(0, L"").Cstr());
    ASSERT_TRUE(none.FindChildElem(L"tdx:FieldExpression"));
    EXPECT_EQ(none.GetChildSubDoc(), L"<tdx:FieldExpression />");
}

TEST(KrTheme3DCustomXmlTest, RefusalsAndTheirLogRecords)
{
    // Another kind's document: refused, type code kept at 5, expressions kept, and the base part
    // stays as read
    KrTheme3DCustom t = Full();
    T3DTest::ClearLog();
    EXPECT_FALSE(t.FromXML(T3DTest::ReadData("custom_foreign.xml"), 0, L""));
    EXPECT_EQ(t.GetType(), KrTheme3D::Theme3DCustom);
    EXPECT_EQ(t.GetAliasSuffix() + L"|" + t.AltitudeMode + L"|" + t.RotateZ, L"_range|ALT|RZ");
    EXPECT_TRUE(T3DTest::LogIds().empty());

    for (const wchar_t* bad : {L"", L"<tdx:Theme3D><tdx:Type>5</tdx:Type>"}) EXPECT_FALSE(t.FromXML(bad, 20120328, L""));
    EXPECT_EQ(T3DTest::LogIds(), (std::vector<std::string>{"EGg040", "EGg040"}));
    const auto& records = KrLogFile::GetInstance(false)->GetRecords();
    EXPECT_EQ(records[0].sourceFile, L"..\\..\\..\\Src\\Theme3DBase\\KrTheme3DCustom");
    EXPECT_NE(records[0].line, records[1].line);
    EXPECT_NE(records[0].message.Find(L"KrTheme3DCustom"), -1);
    EXPECT_EQ(records[0].level, 400);
}
