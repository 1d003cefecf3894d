#include <gtest/gtest.h>

#include <memory>
#include <tuple>
#include <utility>
#include <vector>

#include "KrMarkup.h"
#include "KrTheme3DLabel.h"
#include "TestSupport.h"

using namespace BSX;
using namespace KRN;
using T3DTest::U8;

namespace {
const BsxUnicodeString kNoPath;

// The base part of a label document and one element
BsxUnicodeString Document(const wchar_t* element, const wchar_t* text)
{
    KrMarkup doc(KrTheme3DLabel().KrTheme3D::ToXML(0, kNoPath).Cstr());
    doc.FindElem(L"tdx:Theme3D");
    doc.AddElem(element, text, false, true);
    return doc.GetDoc();
}
} // namespace

TEST(LabelXml, GoldenDocumentIsWrittenAndReadBack)
{
    KrTheme3DLabel label, read;
    label.SetExpression(L"NAME & \"<x>\""); label.SetNumFormat(L"%.2f"); label.SetAlonglineText(true);
    label.SetLabelType(KrTheme3DLabel::Label3DPicture);
    label.GetTextStyle()->SetFaceName(L"Courier"); label.GetTextStyle()->SetSize(11.5); label.GetTextStyle()->SetBold(true);
    T3DTest::ExpectGolden("label_configured.xml", label.ToXML(0, kNoPath));
    ASSERT_TRUE(read.FromXML(T3DTest::ReadData("label_configured.xml"), 20120328, kNoPath));
    EXPECT_EQ(read.ToXML(0, kNoPath), label.ToXML(0, kNoPath));
}

// Absent, empty and reordered elements: the documents label_*.read.xml under Tests/Data/broken
TEST(LabelXml, KeywordsAndFlagsAreReadIgnoringCaseAndOthersChangeNothing)
{
    KrTheme3DLabel label;
    // The along-line flag takes either keyword in any case; any other text keeps it
    for (const auto& [text, start, expected] : std::vector<std::tuple<const wchar_t*, bool, bool>>{
             {L"True", false, true}, {L"fAlSe", true, false}, {L"yes", true, true}, {L"1", false, false}, {L"", true, true}}) {
        label.SetAlonglineText(start);
        label.FromXML(Document(L"tdx:LabelAlongLine", text), 0, kNoPath);
        EXPECT_EQ(label.IsAlonglineText(), expected) << U8(text);
    }
    const std::pair<const wchar_t*, int> types[] = {{L"label3dtable", 3}, {L"LABEL3DSYMBOL", 1}, {L"Label3DPicture", 2},
                                                    {L"label3DText", 0},  {L"3", -1},            {L"Label3DTables", -1}};
    for (const auto& type : types) {
        label.SetLabelType(static_cast<KrTheme3DLabel::KrLabel3DType>(5));
        label.FromXML(Document(L"tdx:LabelType", type.first), 0, kNoPath);
        EXPECT_EQ(label.GetLabel3DType(), type.second < 0 ? 5 : type.second) << U8(type.first);
    }
    // A type without a keyword is written empty and read back as no change
    KrMarkup written(label.ToXML(0, kNoPath).Cstr());
    ASSERT_TRUE(written.FindChildElem(L"tdx:LabelType"));
    EXPECT_EQ(written.GetChildData(), L"");
}

TEST(LabelTheme, NewThemeHasTheLabelDefaults)
{
    // Haloed yellow text of size 20 in the host's default face, fixed size, aligned 6
    T3DTest::ExpectGolden("label_new.xml", KrTheme3DLabel().ToXML(0, L""));
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
