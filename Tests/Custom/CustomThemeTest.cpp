#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "BsxColor.h"
#include "KrFeature.h"
#include "KrGeometry.h"
#include "KrLogFile.h"
#include "KrStyle.h"
#include "KrTheme3DCustom.h"
#include "TestSupport.h"

using namespace BSX;
using namespace KRN;

namespace {

// Opens the protected group builders and can rename the query alias
class OpenCustom : public KrTheme3DCustom {
public:
    BsxUnicodeString alias;
    BsxUnicodeString GetFieldName(bool flag) const override
    {
        return alias.IsEmpty() ? KrTheme3DCustom::GetFieldName(flag) : alias;
    }
    using KrTheme3DCustom::GetFillFieldName;
    using KrTheme3DCustom::GetLineFieldName;
};

// Every expression names a field of its own property name
void SetAll(KrTheme3DCustom& t)
{
    t.AltitudeMode = L"AltitudeMode"; t.BottomAltitude = L"BottomAltitude"; t.ExtendHeight = L"ExtendHeight";
    t.BillboardMode = L"BillboardMode"; t.MarkerStyle = L"MarkerStyle"; t.IconName = L"IconName";
    t.IconScale = L"IconScale"; t.ColorPoint = L"ColorPoint"; t.LineStyle = L"LineStyle";
    t.LineWidth = L"LineWidth"; t.LineColor = L"LineColor"; t.FillStyle = L"FillStyle";
    t.Fill3DMode = L"Fill3DMode"; t.FillForeColor = L"FillForeColor"; t.ScaleX = L"ScaleX";
    t.ScaleY = L"ScaleY"; t.ScaleZ = L"ScaleZ"; t.RotateX = L"RotateX"; t.RotateY = L"RotateY"; t.RotateZ = L"RotateZ";
}

std::vector<std::string> Query(KrTheme3DCustom& t, int selector)
{
    BsxArray<BsxUnicodeString> fields;
    EXPECT_FALSE(t.GetThemeQueryDef(selector, fields));
    std::vector<std::string> out;
    for (int i = 0; i < fields.GetSize(); ++i) out.push_back(fields[i].ToUtf8());
    return out;
}

std::vector<std::string> Expected(const std::string& alias, std::vector<std::pair<std::string, int>> entries)
{
    std::vector<std::string> out;
    for (const auto& e : entries) out.push_back(e.first + " as " + alias + std::to_string(e.second));
    return out;
}

const int kColorPoint = static_cast<int>(BSXRGBA(10, 20, 30, 40));
const int kLineColor = static_cast<int>(BSXRGBA(1, 2, 3, 4));
const int kFillColor = static_cast<int>(BSXRGBA(200, 100, 50, 255)); // negative as a signed number

KrColorValue3D Color(int r, int g, int b, int a) { return KrColorValue3D(r / 255.0, g / 255.0, b / 255.0, a / 255.0); }

// A feature of the given kind whose fields answer every expression of SetAll
KrFeature* MakeFeature(int kind)
{
    auto* f = new KrFeature(new KrGeometry(kind));
    f->SetField(L"AltitudeMode", 1.6); f->SetField(L"BottomAltitude", 12.5); f->SetField(L"ExtendHeight", 30.25f);
    f->SetField(L"BillboardMode", 2); f->SetField(L"MarkerStyle", -6.5); f->SetField(L"IconName", L"pin.png");
    f->SetField(L"IconScale", L"1.5"); f->SetField(L"ColorPoint", kColorPoint); f->SetField(L"LineStyle", short(3));
    f->SetField(L"LineWidth", 2.25); f->SetField(L"LineColor", static_cast<long long>(kLineColor));
    f->SetField(L"FillStyle", 4); f->SetField(L"Fill3DMode", 2.0); f->SetField(L"FillForeColor", kFillColor);
    f->SetField(L"ScaleX", 2); f->SetField(L"ScaleY", 3); f->SetField(L"ScaleZ", 4);
    f->SetField(L"RotateX", 10); f->SetField(L"RotateY", 20); f->SetField(L"RotateZ", -30.5);
    return f;
}

void ExpectCommon(KrStyle& s) { s.SetAltitudeMode(ALTITUDE_ABSOLUTE); s.SetBottomAltitude(12.5f); s.SetExtendHeight(30.25f); }
void ExpectTransform(KrStyle& s)
{
    s.SetBillBoardMode(BILLBOARD_AXIS);
    s.SetMarker3DScaleX(2); s.SetMarker3DScaleY(3); s.SetMarker3DScaleZ(4);
    s.SetMarker3DRotateX(10); s.SetMarker3DRotateY(20); s.SetMarker3DRotateZ(-30.5);
}
void ExpectLine(KrStyle& s) { s.SetLineStyle(3); s.SetMarker3D(true); s.SetLineWidth(2.25); s.SetLineColor3D(Color(1, 2, 3, 4)); }

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

TEST(KrTheme3DCustomTest, NewThemeAndReset)
{
    KrTheme3DCustom t, fresh;
    EXPECT_TRUE(t.IsValid() && t.GetHashCode() == 0);
    for (int selector : {0, 1, 2, 3, -1}) EXPECT_TRUE(Query(t, selector).empty());
    // Emptying clears every expression and keeps the rest
    t.SetAliasSuffix(L"_s");
    fresh.SetAliasSuffix(L"_s");
    SetAll(t);
    t.SetEmpty();
    EXPECT_EQ(t.ToXML(0, L""), fresh.ToXML(0, L""));
}

TEST(KrTheme3DCustomTest, QueryFieldsPerSelectorKeepTheirNumbers)
{
    OpenCustom t;
    t.SetAliasSuffix(L"S");
    SetAll(t);
    t.BottomAltitude.Empty();
    t.LineWidth.Empty();
    const std::string a = "Theme3DCustomS";
    const std::vector<std::pair<std::string, int>> common = {{"AltitudeMode", 1}, {"ExtendHeight", 3}};
    auto with = [&](std::vector<std::pair<std::string, int>> own, bool line = false) {
        auto all = common;
        if (line) all.insert(all.end(), {{"LineStyle", 4}, {"LineColor", 6}});
        all.insert(all.end(), own.begin(), own.end());
        return Expected(a, all);
    };
    EXPECT_EQ(Query(t, 0), with({{"MarkerStyle", 4}, {"IconName", 5}, {"IconScale", 6}, {"ColorPoint", 7},
                                 {"BillboardMode", 8}, {"ScaleX", 9}, {"ScaleY", 10}, {"ScaleZ", 11},
                                 {"RotateX", 12}, {"RotateY", 13}, {"RotateZ", 14}}));
    EXPECT_EQ(Query(t, 1), with({}, true));
    EXPECT_EQ(Query(t, 2), with({{"FillStyle", 7}, {"FillForeColor", 8}, {"Fill3DMode", 9}}, true));
    const auto model = with({{"FillForeColor", 4}, {"BillboardMode", 5}, {"ScaleX", 6}, {"ScaleY", 7}, {"ScaleZ", 8},
                             {"RotateX", 9}, {"RotateY", 10}, {"RotateZ", 11}});
    for (int selector : {3, 99, -1}) EXPECT_EQ(Query(t, selector), model);

    // Only RotateZ: 14 among markers, 11 among models, nothing for lines and regions
    t.SetEmpty();
    t.RotateZ = L"RZ";
    EXPECT_EQ(Query(t, 0), Expected(a, {{"RZ", 14}}));
    EXPECT_EQ(Query(t, 7), Expected(a, {{"RZ", 11}}));
    EXPECT_TRUE(Query(t, 1).empty());
    EXPECT_TRUE(Query(t, 2).empty());

    // Appending never clears; the alias comes through the overridable field name
    t.alias = L"X";
    BsxArray<BsxUnicodeString> fields;
    fields.Add(L"kept");
    t.GetThemeQueryDef(0, fields);
    t.GetThemeQueryDef(0, fields);
    ASSERT_EQ(fields.GetSize(), 3);
    EXPECT_EQ(fields[0], L"kept");
    EXPECT_EQ(fields[2], L"RZ as X14");

    // The builders answer whether the array grew, nested groups included
    EXPECT_FALSE(t.GetLineFieldName(fields));
    t.AltitudeMode = L"A";
    EXPECT_TRUE(t.GetFillFieldName(fields));
    EXPECT_EQ(fields[3], L"A as X1");
}

TEST(KrTheme3DCustomTest, EachGeometryGroupWritesOnlyItsProperties)
{
    KrTheme3DCustom t;
    SetAll(t);
    for (int kind : {1, 101, 3, 103, 5, 105, 1201, 7, 1202, 0}) {
        std::unique_ptr<KrFeature> f(MakeFeature(kind));
        KrStyle style, expected;
        ExpectCommon(expected);
        bool known = true;
        if (kind == 1 || kind == 101) {
            expected.SetMarkerStyle(-7); expected.SetMarker3D(true); expected.SetIconName(L"pin.png");
            expected.SetIconScale(1.5f); expected.SetPointColor(Color(10, 20, 30, 40)); expected.SetFillColor(Color(10, 20, 30, 40));
            ExpectTransform(expected);
        } else if (kind == 1201) {
            expected.SetFillColor(Color(200, 100, 50, 255));
            ExpectTransform(expected);
        } else if (kind == 5 || kind == 105) {
            expected.SetFillStyle(4); expected.SetFillColor(Color(200, 100, 50, 255)); expected.SetFill3DMode(FILL3D_EXTRUDE);
            ExpectLine(expected);
        } else if (kind == 3 || kind == 103) {
            ExpectLine(expected);
        } else {
            known = false;
        }
        EXPECT_EQ(t.FindStyle(f.get(), style), known) << kind;
        EXPECT_TRUE(style == expected) << kind;
    }

    // Nothing set: a point is known and unchanged; no feature or no geometry answers false
    KrTheme3DCustom empty;
    std::unique_ptr<KrFeature> point(MakeFeature(1));
    KrStyle style;
    EXPECT_TRUE(empty.FindStyle(point.get(), style));
    EXPECT_TRUE(style == KrStyle());
    EXPECT_FALSE(t.FindStyle(nullptr, style));
    point->SetGeometry(nullptr);
    EXPECT_FALSE(t.FindStyle(point.get(), style));
    EXPECT_EQ(style.GetBottomAltitude(), 12.5f);
}

TEST(KrTheme3DCustomTest, NumbersConvertAtTheirBoundaries)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    KrTheme3DCustom t;
    t.AltitudeMode = t.BottomAltitude = t.ColorPoint = t.FillForeColor = t.IconScale = t.IconName = L"v";
    t.LineWidth = L"missing";
    auto run = [&](int kind, const BsxVariant& v) {
        KrFeature f(new KrGeometry(kind));
        f.SetField(L"v", v);
        KrStyle s;
        s.SetAltitudeMode(static_cast<AltitudeMode>(77)); s.SetLineWidth(7);
        s.SetPointColor(KrColorValue3D(9, 9, 9, 9)); s.SetFillColor(KrColorValue3D(9, 9, 9, 9));
        t.FindStyle(&f, s);
        EXPECT_EQ(s.GetLineWidth(), 7); // an unknown field is skipped
        return s;
    };
    const std::vector<std::pair<double, int>> codes = {
        {2.5, 3}, {-2.5, -3}, {0.4, 0}, {-0.4, 0}, {2147483647.4, INT_MAX}, {-2147483648.4, INT_MIN},
        {2147483647.5, 77}, {-2147483648.5, 77}, {1e300, 77}, {nan, 77}};
    for (const auto& c : codes) EXPECT_EQ(run(7, c.first).GetAltitudeMode(), c.second) << c.first;

    // Narrowing rounds to the nearest float: just past FLT_MAX (3.4028235e38 as commonly written)
    // is still FLT_MAX, and only from half a float step beyond it does the value overflow
    const double overflow = 0x1.ffffffp+127;
    for (const auto& b : std::vector<std::pair<double, float>>{{1e300, HUGE_VALF}, {-1e300, -HUGE_VALF}, {0.1, 0.1f},
                                                               {3.4028235e38, FLT_MAX}, {-3.4028235e38, -FLT_MAX},
                                                               {std::nextafter(overflow, 0.0), FLT_MAX},
                                                               {overflow, HUGE_VALF}, {-overflow, -HUGE_VALF}})
        EXPECT_EQ(run(7, b.first).GetBottomAltitude(), b.second) << b.first;
    EXPECT_TRUE(std::isnan(run(7, nan).GetBottomAltitude()));

    // Points round, regions truncate; both spellings of a packed colour with a high alpha
    // work; a number outside both leaves the colour
    const KrColorValue3D kept(9, 9, 9, 9);
    const std::vector<std::tuple<int, double, KrColorValue3D>> colours = {
        {1, 255.7, Color(0, 1, 0, 0)}, {5, 255.7, Color(255, 0, 0, 0)}, {1, -1.2, Color(255, 255, 255, 255)},
        {5, 4294967295.9, Color(255, 255, 255, 255)}, {1, 4294967295.6, kept}, {1, -2147483648.6, kept},
        {1, nan, kept}, {5, 4294967296.0, kept}};
    for (const auto& c : colours) {
        const KrStyle st = run(std::get<0>(c), std::get<1>(c));
        // A point's colour goes to both its point and its fill colour
        EXPECT_EQ(st.GetFillColor(), std::get<2>(c)) << std::get<1>(c);
        if (std::get<0>(c) == 1) { EXPECT_EQ(st.GetPointColor(), std::get<2>(c)) << std::get<1>(c); }
    }

    // A text that is no number is skipped; a number read as text is its text form
    KrStyle s = run(1, L"abc");
    EXPECT_EQ(s.GetIconScale(), 1.0f);
    EXPECT_EQ(s.GetIconName(), L"abc");
    EXPECT_EQ(run(1, 42).GetIconName(), L"42");
}

TEST(KrTheme3DCustomXmlTest, WritesTheGoldenDocumentAndReadsItBack)
{
    const KrTheme3DCustom full = Full();
    T3DTest::ExpectGolden("custom_all.xml", full.ToXML(0, L"/some/dir"));
    KrTheme3DCustom back;
    ASSERT_TRUE(back.FromXML(T3DTest::ReadData("custom_all.xml"), 20120328, L""));
    EXPECT_EQ(back.ToXML(0, L""), full.ToXML(0, L""));

    // Without expressions the container stays, empty (only the expressions set are written: the
    // corpus documents' written forms under Tests/Data/broken/written)
    T3DTest::ExpectGolden("custom_new.xml", KrTheme3DCustom().ToXML(0, L""));
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
    EXPECT_NE(records[0].line, records[1].line);
    EXPECT_NE(records[0].message.Find(L"KrTheme3DCustom"), -1);
    EXPECT_EQ(records[0].level, 400);
}
