#include <gtest/gtest.h>

#include <memory>

#include "KrTheme3DLabel.h"
#include "TestSupport.h"

using namespace BSX;
using namespace KRN;

TEST(LabelTheme, NewThemeHasTheLabelDefaults)
{
    // Haloed yellow text of size 20 in the host's default face, fixed size, aligned 6
    KrTheme3DLabel label;
    EXPECT_EQ(label.GetLabel3DType(), KrTheme3DLabel::Label3DText);
    T3DTest::ExpectGolden("label_new.xml", label.ToXML(0, L""));
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

    source->SetNumFormat(L"%.1f");
    KrStyle style;
    style.SetIconName(L"icon.png");
    source->SetStyle(style);

    KrTheme3DLabel copy(*source);
    KrTheme3DLabel assigned;
    assigned.Add(L"X", KrTheme3DItem());
    assigned = *source;
    EXPECT_EQ(copy.GetStringFromVariant(BsxVariant(2.25)), L"2.2");
    EXPECT_NE(copy.Find(L"A"), source->Find(L"A"));
    EXPECT_EQ(copy.GetStyle().GetIconName(), L"icon.png");
    // Assignment keeps the target's own items, keys and style
    EXPECT_EQ(assigned.Find(L"A"), nullptr);
    EXPECT_TRUE(assigned.IsExist(L"X"));
    EXPECT_EQ(assigned.GetStyle().GetIconName(), L"");
    source.reset();
    EXPECT_EQ(copy.Find(L"A")->Caption, L"first");
}
