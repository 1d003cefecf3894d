#include <gtest/gtest.h>

#include <memory>

#include "KrStringEx.h"
#include "KrTheme3DLabel.h"
#include "TestSupport.h"

using namespace BSX;
using namespace KRN;

TEST(LabelTheme, NewThemeHasTheLabelDefaultsAndFieldName)
{
    KrTheme3DLabel label;
    EXPECT_EQ(label.GetType(), KrTheme3D::Theme3DLabel);
    EXPECT_EQ(label.GetLabel3DType(), KrTheme3DLabel::Label3DText);
    const KrTextStyle* style = label.GetTextStyle();
    EXPECT_TRUE(style->IsHalo());
    EXPECT_EQ(style->GetSize(), 20.0);
    EXPECT_EQ(style->GetForeColor(), BSXRGBA(255, 255, 0, 255));
    KrStringEx face;
    face.LoadResString(L"IMl003");
    EXPECT_EQ(style->GetFaceName(), face);
    EXPECT_TRUE(style->IsFixedSize());
    EXPECT_EQ(style->GetAlign(), 6);

    EXPECT_EQ(label.GetFieldName(false), L"Theme3DLabel");
    EXPECT_EQ(label.GetFieldName(true), L"");
    label.SetAliasSuffix(L"7");
    label.SetExpression(L"POP / 1000");
    EXPECT_EQ(label.GetFieldName(false), L"Theme3DLabel7");
    EXPECT_EQ(label.GetFieldName(true), L"POP / 1000 as Theme3DLabel7");
}

TEST(LabelTheme, ItemsAreKeyedOnceCopiedInAndCopiedOnlyByTheCopyConstructor)
{
    auto source = std::make_unique<KrTheme3DLabel>();
    KrTheme3DItem item;
    item.Caption = L"first";
    EXPECT_TRUE(source->Add(L"A", item));
    item.Caption = L"second";
    EXPECT_FALSE(source->Add(L"A", item));
    EXPECT_EQ(source->GetItemKeys().GetCount(), 1);
    EXPECT_EQ(source->Find(L"A")->Caption, L"first");
    EXPECT_TRUE(source->IsExist(L"A"));
    EXPECT_FALSE(source->IsExist(L"a"));

    source->SetExpression(L"NAME");
    source->SetNumFormat(L"%.1f");
    source->SetLabelType(KrTheme3DLabel::Label3DTable);
    source->SetAlonglineText(true);
    source->GetTextStyle()->SetSize(9.0);
    KrStyle style;
    style.SetIconName(L"icon.png");
    source->SetStyle(style);

    KrTheme3DLabel copy(*source);
    KrTheme3DLabel assigned;
    assigned.Add(L"X", KrTheme3DItem());
    assigned = *source;
    const KrTheme3DLabel& self = assigned;
    assigned = self;
    for (KrTheme3DLabel* target : {&copy, &assigned}) {
        EXPECT_EQ(target->GetExpression(), L"NAME");
        EXPECT_EQ(target->GetStringFromVariant(BsxVariant(2.25)), L"2.2");
        EXPECT_EQ(target->GetLabel3DType(), KrTheme3DLabel::Label3DTable);
        EXPECT_TRUE(target->IsAlonglineText());
        EXPECT_EQ(target->GetTextStyle()->GetSize(), 9.0);
    }
    EXPECT_NE(copy.Find(L"A"), source->Find(L"A"));
    EXPECT_EQ(copy.GetStyle().GetIconName(), L"icon.png");
    // Assignment keeps the target's own items, keys and style
    EXPECT_EQ(assigned.Find(L"A"), nullptr);
    EXPECT_TRUE(assigned.IsExist(L"X"));
    EXPECT_EQ(assigned.GetStyle().GetIconName(), L"");
    source.reset();
    EXPECT_EQ(copy.Find(L"A")->Caption, L"first");
}
