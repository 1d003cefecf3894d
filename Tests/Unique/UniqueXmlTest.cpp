#include <gtest/gtest.h>

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
    KrTheme3DItem b, a, half;
    b.Caption = L"Bee & <co>";
    b.ModellingStyleEnabled = true;
    b.Style.SetLineWidth(2.5);
    b.Style.SetIconName(L"/data/project/icons/b.png");
    a.Visible = false;
    a.Style.SetLineWidth(0.1);
    half.Caption = L"two and a half";
    t.Add(L"b", b);
    t.Add(L"a", a);
    t.Add(L"2.50", half);
    return t;
}

} // namespace

TEST(KrTheme3DUniqueXmlTest, WritesTheGoldenDocumentsAndReadsThemBack)
{
    const KrTheme3DUnique sample = Sample();
    T3DTest::ExpectGolden("unique_sample.xml", sample.ToXML(0, kDir));
    // Saving leaves the item's own icon name as it was
    EXPECT_EQ(sample.Find(L"b")->Style.GetIconName(), L"/data/project/icons/b.png");
    T3DTest::ExpectGolden("unique_empty.xml", KrTheme3DUnique().ToXML(0, kDir));

    // What was read is looked up as what was written: the split expression, the numeric keys, and
    // the icon resolved against the folder the document is read in
    KrTheme3DUnique back;
    ASSERT_TRUE(back.FromXML(T3DTest::ReadData("unique_sample.xml"), 20120328, L"/elsewhere"));
    EXPECT_EQ(back.GetFieldExpressions().GetCount(), 2);
    EXPECT_EQ(back.FindStyle(BsxVariant(2.5)), &back.GetAt(2)->Style);
    EXPECT_EQ(back.Find(L"b")->Style.GetIconName(), L"/elsewhere/icons/b.png");
}
