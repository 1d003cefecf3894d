#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "BsxVariant.h"
#include "KrTheme3DUnique.h"
#include "TestSupport.h"

using namespace BSX;
using namespace KRN;

namespace {

const wchar_t kDir[] = L"/data/project";

// Keys out of key order, text that XML must escape, an icon below the directory, an invisible
// item and flags on both sides
KrTheme3DUnique Sample()
{
    KrTheme3DUnique t;
    t.SetExpression(L"NAME [#] TYPE");
    t.SetAliasSuffix(L"_u");
    KrStyle def;
    def.SetFillStyle(2);
    t.SetDefaultStyle(def);
    t.SetDefaultModellingStyleEnabled(true);

    KrTheme3DItem b;
    b.Caption = L"Bee & <co>";
    b.ModellingStyleEnabled = true;
    b.Style.SetLineWidth(2.5);
    b.Style.SetIconName(L"/data/project/icons/b.png");
    t.Add(L"b", b);
    KrTheme3DItem a;
    a.Visible = false;
    a.Style.SetLineWidth(0.1);
    t.Add(L"a", a);
    KrTheme3DItem half;
    half.Caption = L"two and a half";
    t.Add(L"2.50", half);
    return t;
}

std::vector<std::string> Keys(const KrTheme3DUnique& t)
{
    std::vector<std::string> keys;
    for (int i = 0; i < t.GetCount(); ++i) keys.push_back(t.GetValueAt(i).ToUtf8());
    return keys;
}

} // namespace

TEST(KrTheme3DUniqueXmlTest, WritesTheGoldenDocumentsAndReadsThemBack)
{
    const KrTheme3DUnique sample = Sample();
    const BsxUnicodeString golden = T3DTest::ReadData("unique_sample.xml");
    ASSERT_FALSE(golden.IsEmpty());
    EXPECT_EQ(sample.ToXML(0, kDir), golden);
    EXPECT_EQ(sample.ToXML(20090106, kDir), golden);
    // Saving leaves the item's own icon name as it was
    EXPECT_EQ(sample.Find(L"b")->Style.GetIconName(), L"/data/project/icons/b.png");
    EXPECT_EQ(KrTheme3DUnique().ToXML(0, kDir), T3DTest::ReadData("unique_empty.xml"));

    for (int version : {0, 20090106, 20120328}) {
        KrTheme3DUnique back;
        ASSERT_TRUE(back.FromXML(golden, version, kDir));
        EXPECT_EQ(Keys(back), (std::vector<std::string>{"b", "a", "2.50"}));
        EXPECT_EQ(back.GetFieldExpressions().GetCount(), 2);
        // The numeric lookup works on what was read, and everything read is written back
        EXPECT_EQ(back.FindStyle(BsxVariant(2.5)), &back.GetAt(2)->Style);
        EXPECT_EQ(back.ToXML(0, kDir), golden);
    }

    // The icon is resolved against the directory the document is read with
    KrTheme3DUnique moved;
    ASSERT_TRUE(moved.FromXML(golden, 0, L"/elsewhere"));
    EXPECT_EQ(moved.Find(L"b")->Style.GetIconName(), L"/elsewhere/icons/b.png");
    EXPECT_EQ(moved.Find(L"a")->Style.GetIconName(), L"");

    // Icon names outside ASCII go both ways as well
    KrTheme3DUnique wide;
    KrTheme3DItem item;
    item.Style.SetIconName(L"/data/project/\u56fe\u6807/\u5317.png");
    wide.Add(L"\u5317", item);
    KrTheme3DUnique wideBack;
    ASSERT_TRUE(wideBack.FromXML(wide.ToXML(0, kDir), 0, L"/other"));
    EXPECT_EQ(wideBack.Find(L"\u5317")->Style.GetIconName(), L"/other/\u56fe\u6807/\u5317.png");
}

TEST(KrTheme3DUniqueXmlTest, EnvelopeFailuresLeaveTheThemeAsItWas)
{
    KrTheme3DUnique t = Sample();
    const BsxUnicodeString before = t.ToXML(0, kDir);
    EXPECT_EQ(t.ToXML(12345, kDir) + t.ToXML(20050101, kDir), L"");
    EXPECT_TRUE(t.FromXML(KrTheme3DUnique().ToXML(0, L""), 20050101, kDir));
    for (const wchar_t* bad : {L"", L"<tdx:Theme3D><tdx:Type>1</tdx:Type>", L"<tdx:Other><tdx:Type>1</tdx:Type></tdx:Other>"})
        EXPECT_FALSE(t.FromXML(bad, 0, kDir)) << T3DTest::U8(bad);

    // A range theme's document is refused; the type code stays 1
    BsxUnicodeString range = before;
    ASSERT_EQ(range.Replace(L"<tdx:Type>1</tdx:Type>", L"<tdx:Type>2</tdx:Type>"), 1);
    EXPECT_FALSE(t.FromXML(range, 0, kDir));
    EXPECT_EQ(t.GetType(), KrTheme3D::Theme3DUnique);
    EXPECT_EQ(t.ToXML(0, kDir), before);

    // Every truncation of a document is malformed and refused
    const int last = before.Str().rfind(L'<');
    for (int n = 1; n < last; n += 7) {
        EXPECT_FALSE(t.FromXML(before.Left(n), 0, kDir)) << n;
    }
    EXPECT_EQ(t.ToXML(0, kDir), before);
}

TEST(KrTheme3DUniqueXmlTest, MissingAndRepeatedElementsGetTheirDefaults)
{
    KrTheme3DUnique t;
    KrStyle def;
    def.SetLineStyle(9);
    t.SetDefaultStyle(def);
    t.Add(L"gone", KrTheme3DItem());
    ASSERT_TRUE(t.FromXML(T3DTest::ReadData("unique_sparse.xml"), 0, kDir));

    // The default flag stands before the expression, so the forward search has passed it
    EXPECT_EQ(t.GetExpression(), L"LATE");
    EXPECT_EQ(t.GetFieldExpressions().GetCount(), 1);
    EXPECT_TRUE(t.GetDefaultModellingStyleEnabled());
    EXPECT_EQ(t.GetDefaultStyle().GetLineStyle(), 9);
    // The duplicate "x", the entry without a value and the second container are left out
    EXPECT_EQ(Keys(t), (std::vector<std::string>{"x", "y", "z", "1e999"}));

    // x: visibility "false"; y: caption, visibility and style carry over from the entry
    // before, "no" reads as visible; z: elements out of order are not found once the search
    // has passed them
    const std::vector<std::tuple<const wchar_t*, const wchar_t*, bool, bool>> entries = {
        {L"x", L"first", false, true}, {L"y", L"first", true, false}, {L"z", L"third", true, true}};
    for (const auto& e : entries) {
        const KrTheme3DItem* item = t.Find(std::get<0>(e));
        ASSERT_TRUE(item);
        EXPECT_EQ(item->Caption, std::get<1>(e));
        EXPECT_EQ(item->Visible, std::get<2>(e)) << T3DTest::U8(std::get<0>(e));
        EXPECT_EQ(item->ModellingStyleEnabled, std::get<3>(e)) << T3DTest::U8(std::get<0>(e));
    }
    for (const wchar_t* key : {L"x", L"y"}) {
        EXPECT_EQ(t.Find(key)->Style.GetLineWidth(), 4);
        EXPECT_EQ(t.Find(key)->Style.GetIconName(), L"/data/project/pins/x.png");
    }
    // A huge number as a key is kept as text and never matches a real
    EXPECT_EQ(t.FindStyle(BsxVariant(1e308)), &t.GetDefaultStyle());
    EXPECT_EQ(t.FindStyle(L"1e999"), &t.Find(L"1e999")->Style);

    // Without the items container: no entries; a missing expression keeps the one before
    ASSERT_TRUE(t.FromXML(L"<tdx:Theme3D><tdx:Type>1</tdx:Type>"
                          L"<tdx:DefaultModellingStyleEnabled>FALSE</tdx:DefaultModellingStyleEnabled></tdx:Theme3D>",
                          0, kDir));
    EXPECT_EQ(t.GetCount(), 0);
    EXPECT_EQ(t.GetExpression(), L"LATE");
    EXPECT_FALSE(t.GetDefaultModellingStyleEnabled());
}
