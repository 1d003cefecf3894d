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
    // Haloed yellow text of size 20 in the host's default face, fixed size, aligned 6
    KrTextStyle expected;
    KrStringEx face;
    face.LoadResString(L"IMl003");
    expected.SetHalo(true); expected.SetSize(20.0); expected.SetForeColor(BSXRGBA(255, 255, 0, 255));
    expected.SetFaceName(face); expected.SetFixedSize(true); expected.SetAlign(6);
    EXPECT_TRUE(*label.GetTextStyle() == expected);

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

    source->SetExpression(L"NAME"); source->SetNumFormat(L"%.1f"); source->SetLabelType(KrTheme3DLabel::Label3DTable);
    source->SetAlonglineText(true); source->GetTextStyle()->SetSize(9.0);
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
        EXPECT_EQ(target->ToXML(0, L""), source->ToXML(0, L""));
        EXPECT_EQ(target->GetStringFromVariant(BsxVariant(2.25)), L"2.2");
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
