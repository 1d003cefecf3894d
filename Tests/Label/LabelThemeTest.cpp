#include <gtest/gtest.h>

#include <memory>

#include "KrStringEx.h"
#include "KrTheme3DLabel.h"
#include "TestSupport.h"

using namespace BSX;
using namespace KRN;
using T3DTest::U8;

namespace {
KrTheme3DItem ItemCaptioned(const wchar_t* caption)
{
    KrTheme3DItem item;
    item.Caption = caption;
    return item;
}
} // namespace

TEST(LabelTheme, NewThemeHasTheLabelDefaults)
{
    KrTheme3DLabel label;
    EXPECT_EQ(label.GetType(), KrTheme3D::Theme3DLabel);
    EXPECT_EQ(label.GetLabel3DType(), KrTheme3DLabel::Label3DText);
    EXPECT_EQ(label.GetExpression(), L"");
    EXPECT_EQ(label.GetNumFormat(), L"");
    EXPECT_FALSE(label.IsAlonglineText());
    const KrTextStyle* style = label.GetTextStyle();
    ASSERT_EQ(style, label.GetTextStyle());
    EXPECT_TRUE(style->IsHalo());
    EXPECT_EQ(style->GetSize(), 20.0);
    EXPECT_EQ(BSXREDVAL(style->GetForeColor()), 255);
    EXPECT_EQ(BSXGREENVAL(style->GetForeColor()), 255);
    EXPECT_EQ(BSXBLUEVAL(style->GetForeColor()), 0);
    EXPECT_EQ(BSXALPHAVAL(style->GetForeColor()), 255);
    KrStringEx face;
    face.LoadResString(L"IMl003");
    EXPECT_FALSE(face.IsEmpty());
    EXPECT_EQ(style->GetFaceName(), face);
    EXPECT_TRUE(style->IsFixedSize());
    EXPECT_EQ(style->GetAlign(), 6);
    // The symbol base's answers are kept
    BsxArray<BsxUnicodeString> fields;
    fields.Add(L"kept");
    EXPECT_FALSE(label.GetThemeQueryDef(fields, true));
    EXPECT_EQ(fields.GetCount(), 1);
    EXPECT_EQ(label.ConvertToGeometry(nullptr, 0, BsxPoint3D()), nullptr);
}

TEST(LabelTheme, ItemsAreKeyedOnceAndOwned)
{
    KrTheme3DLabel label;
    EXPECT_TRUE(label.Add(L"A", ItemCaptioned(L"first")));
    EXPECT_FALSE(label.Add(L"A", ItemCaptioned(L"second")));
    EXPECT_TRUE(label.Add(L"", ItemCaptioned(L"empty key")));
    ASSERT_EQ(label.GetItemKeys().GetCount(), 2);
    EXPECT_EQ(label.GetItemKeys()[0], L"A");
    ASSERT_NE(label.Find(L"A"), nullptr);
    EXPECT_EQ(label.Find(L"A")->Caption, L"first");
    EXPECT_EQ(label.Find(L"B"), nullptr);
    EXPECT_TRUE(label.IsExist(L"A"));
    EXPECT_FALSE(label.IsExist(L"a"));
    // The theme holds its own copy
    KrTheme3DItem mine = ItemCaptioned(L"mine");
    label.Add(L"M", mine);
    mine.Caption = L"changed";
    EXPECT_EQ(label.Find(L"M")->Caption, L"mine");
}

TEST(LabelTheme, CopyTakesItemsAndAssignmentDoesNot)
{
    auto source = std::make_unique<KrTheme3DLabel>();
    source->SetExpression(L"NAME");
    source->SetNumFormat(L"%.1f");
    source->SetLabelType(KrTheme3DLabel::Label3DTable);
    source->SetAlonglineText(true);
    source->GetTextStyle()->SetSize(9.0);
    source->SetAliasSuffix(L"_1");
    KrStyle style;
    style.SetIconName(L"icon.png");
    source->SetStyle(style);
    source->Add(L"A", ItemCaptioned(L"a"));

    KrTheme3DLabel copy(*source);
    KrTheme3DLabel assigned;
    assigned.Add(L"X", ItemCaptioned(L"x"));
    assigned = *source;
    const KrTheme3DLabel& self = assigned;
    assigned = self;

    for (KrTheme3DLabel* target : {&copy, &assigned}) {
        EXPECT_EQ(target->GetExpression(), L"NAME");
        EXPECT_EQ(target->GetNumFormat(), L"%.1f");
        EXPECT_EQ(target->GetStringFromVariant(BsxVariant(2.25)), L"2.2");
        EXPECT_EQ(target->GetLabel3DType(), KrTheme3DLabel::Label3DTable);
        EXPECT_TRUE(target->IsAlonglineText());
        EXPECT_EQ(target->GetTextStyle()->GetSize(), 9.0);
        EXPECT_NE(target->GetTextStyle(), source->GetTextStyle());
        EXPECT_EQ(target->GetFieldName(false), L"Theme3DLabel_1");
    }
    ASSERT_NE(copy.Find(L"A"), nullptr);
    EXPECT_NE(copy.Find(L"A"), source->Find(L"A"));
    EXPECT_EQ(copy.GetStyle().GetIconName(), L"icon.png");
    EXPECT_EQ(assigned.Find(L"A"), nullptr);
    ASSERT_NE(assigned.Find(L"X"), nullptr);
    EXPECT_EQ(assigned.GetItemKeys().GetCount(), 1);
    EXPECT_EQ(assigned.GetStyle().GetIconName(), L"");
    source.reset();
    EXPECT_EQ(copy.Find(L"A")->Caption, L"a");
}

TEST(LabelTheme, FieldNameCarriesTheAliasSuffix)
{
    KrTheme3DLabel label;
    EXPECT_EQ(label.GetFieldName(false), L"Theme3DLabel");
    EXPECT_EQ(label.GetFieldName(true), L"");
    label.SetAliasSuffix(L"7");
    label.SetExpression(L"POP / 1000");
    EXPECT_EQ(label.GetFieldName(false), L"Theme3DLabel7");
    EXPECT_EQ(label.GetFieldName(true), L"POP / 1000 as Theme3DLabel7");
    EXPECT_EQ(label.GetExpression(), L"POP / 1000");
}
