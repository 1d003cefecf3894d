#include <gtest/gtest.h>

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

// The base part of a label document (or of another kind's, by its type code) and the given elements
BsxUnicodeString Document(std::vector<std::pair<const wchar_t*, const wchar_t*>> elements, const wchar_t* type = L"3")
{
    BsxUnicodeString base = KrTheme3DLabel().KrTheme3D::ToXML(0, kNoPath);
    base.Replace(L"<tdx:Type>3</tdx:Type>", (BsxUnicodeString(L"<tdx:Type>") + type + L"</tdx:Type>").Cstr());
    KrMarkup doc(base.Cstr());
    doc.FindElem(L"tdx:Theme3D");
    for (const auto& element : elements) doc.AddElem(element.first, element.second, false, true);
    return doc.GetDoc();
}

void Configure(KrTheme3DLabel& label)
{
    label.SetExpression(L"NAME & \"<x>\""); label.SetNumFormat(L"%.2f"); label.SetAlonglineText(true);
    label.SetLabelType(KrTheme3DLabel::Label3DPicture);
    label.GetTextStyle()->SetFaceName(L"Courier"); label.GetTextStyle()->SetSize(11.5); label.GetTextStyle()->SetBold(true);
}
} // namespace

TEST(LabelXml, GoldenDocumentIsWrittenAndReadBack)
{
    KrTheme3DLabel label, read;
    Configure(label);
    T3DTest::ExpectGolden("label_configured.xml", label.ToXML(0, kNoPath));
    EXPECT_EQ(label.ToXML(20090106, L"/some/dir"), label.ToXML(0, kNoPath));
    ASSERT_TRUE(read.FromXML(T3DTest::ReadData("label_configured.xml"), 20120328, kNoPath));
    EXPECT_EQ(read.ToXML(0, kNoPath), label.ToXML(0, kNoPath));
}

TEST(LabelXml, KeywordsAndFlagsAreReadIgnoringCaseAndOthersChangeNothing)
{
    KrTheme3DLabel label;
    for (const wchar_t* text : {L"true", L"True", L"TRUE", L"1", L"yes", L"", L"fAlSe"}) {
        for (bool start : {false, true}) {
            label.SetAlonglineText(start);
            label.FromXML(Document({{L"tdx:LabelAlongLine", text}}), 0, kNoPath);
            const bool expected = BsxUnicodeString(text).CompareNoCase(L"TRUE") == 0 ||
                                  (BsxUnicodeString(text).CompareNoCase(L"FALSE") != 0 && start);
            EXPECT_EQ(label.IsAlonglineText(), expected) << U8(text) << start;
        }
    }
    const std::pair<const wchar_t*, int> types[] = {{L"label3dtable", 3}, {L"LABEL3DSYMBOL", 1}, {L"Label3DPicture", 2},
                                                    {L"label3DText", 0},  {L"3", -1},            {L"Label3DTables", -1}};
    for (const auto& type : types) {
        label.SetLabelType(static_cast<KrTheme3DLabel::KrLabel3DType>(5));
        label.FromXML(Document({{L"tdx:LabelType", type.first}}), 0, kNoPath);
        EXPECT_EQ(label.GetLabel3DType(), type.second < 0 ? 5 : type.second) << U8(type.first);
    }
    // A type without a keyword is written empty and read back as no change
    KrMarkup written(label.ToXML(0, kNoPath).Cstr());
    ASSERT_TRUE(written.FindChildElem(L"tdx:LabelType"));
    EXPECT_EQ(written.GetChildData(), L"");
}

TEST(LabelXml, AbsentElementsKeepMembersEmptyOnesReplaceThemAndReadingIsForwardOnly)
{
    KrTheme3DLabel label;
    Configure(label);
    const KrTextStyle configured = *label.GetTextStyle();
    ASSERT_TRUE(label.FromXML(Document({}), 0, kNoPath));
    EXPECT_EQ(label.GetNumFormat(), L"%.2f");
    EXPECT_TRUE(label.IsAlonglineText());
    EXPECT_TRUE(*label.GetTextStyle() == configured);
    ASSERT_TRUE(label.FromXML(Document({{L"tdx:FieldExpression", L""}, {L"tdx:NumFormat", L""}}), 0, kNoPath));
    EXPECT_EQ(label.GetExpression(), L"");
    EXPECT_EQ(label.GetStringFromVariant(BsxVariant(2.5)), L"2.5");

    KrTheme3DLabel fresh, read;
    ASSERT_TRUE(read.FromXML(Document({{L"tdx:NumFormat", L".1f"}, {L"tdx:FieldExpression", L"late"}}), 0, kNoPath));
    EXPECT_TRUE(*read.GetTextStyle() == *fresh.GetTextStyle());
    EXPECT_EQ(read.GetExpression(), L"late");
    EXPECT_EQ(read.GetNumFormat(), L"");
}
