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

using Elements = std::vector<std::pair<const wchar_t*, const wchar_t*>>;

// The base part of a theme of the given kind followed by the given elements
BsxUnicodeString Document(const Elements& elements, KrTheme3D::KrTheme3DType kind = KrTheme3D::Theme3DLabel)
{
    KrTheme3DLabel source;
    KrMarkup doc(source.KrTheme3D::ToXML(0, kNoPath).Cstr());
    doc.FindElem(L"tdx:Theme3D");
    if (kind != KrTheme3D::Theme3DLabel) {
        BsxUnicodeString base = doc.GetDoc();
        base.Replace(L"<tdx:Type>3</tdx:Type>", kind == KrTheme3D::Theme3DRange ? L"<tdx:Type>2</tdx:Type>" : L"<tdx:Type>1</tdx:Type>");
        doc.SetDoc(base.Cstr());
        doc.FindElem(L"tdx:Theme3D");
    }
    for (const auto& element : elements) doc.AddElem(element.first, element.second, false, true);
    return doc.GetDoc();
}

KrTheme3DLabel Configured()
{
    KrTheme3DLabel label;
    label.SetExpression(L"NAME & \"<x>\"");
    label.SetNumFormat(L"%.2f");
    label.SetAlonglineText(true);
    label.SetLabelType(KrTheme3DLabel::Label3DPicture);
    KrTextStyle* style = label.GetTextStyle();
    style->SetFaceName(L"Courier");
    style->SetSize(11.5);
    style->SetBold(true);
    return label;
}
} // namespace

TEST(LabelXml, GoldenDocumentIsWrittenAndReadBackByteForByte)
{
    KrTheme3DLabel label = Configured();
    const BsxUnicodeString golden = T3DTest::ReadData("label_configured.xml");
    ASSERT_FALSE(golden.IsEmpty());
    EXPECT_EQ(label.ToXML(0, kNoPath), golden);
    EXPECT_EQ(label.ToXML(20090106, L"/some/dir"), golden);

    KrTheme3DLabel read;
    ASSERT_TRUE(read.FromXML(golden, 0, kNoPath));
    EXPECT_EQ(read.GetExpression(), label.GetExpression());
    EXPECT_EQ(read.GetNumFormat(), L"%.2f");
    EXPECT_TRUE(read.IsAlonglineText());
    EXPECT_EQ(read.GetLabel3DType(), KrTheme3DLabel::Label3DPicture);
    EXPECT_TRUE(*read.GetTextStyle() == *label.GetTextStyle());
    EXPECT_EQ(read.ToXML(0, kNoPath), golden);

    // The later revision has the same form
    KrTheme3DLabel later;
    ASSERT_TRUE(later.FromXML(label.ToXML(20120328, kNoPath), 20120328, kNoPath));
    EXPECT_EQ(later.ToXML(0, kNoPath), golden);
}

TEST(LabelXml, EnvelopeFailuresLeaveTheThemeAlone)
{
    KrTheme3DLabel label = Configured();
    const BsxUnicodeString before = label.ToXML(0, kNoPath);
    EXPECT_EQ(label.ToXML(1, kNoPath), L"");
    EXPECT_EQ(label.ToXML(12345, kNoPath), L"");
    EXPECT_TRUE(label.FromXML(Document({{L"tdx:FieldExpression", L"other"}}), 1, kNoPath));
    EXPECT_FALSE(label.FromXML(L"", 0, kNoPath));
    EXPECT_FALSE(label.FromXML(L"<tdx:Theme3D><broken>", 0, kNoPath));
    EXPECT_FALSE(label.FromXML(Document({{L"tdx:FieldExpression", L"other"}}, KrTheme3D::Theme3DRange), 0, kNoPath));
    EXPECT_EQ(label.GetType(), KrTheme3D::Theme3DLabel);
    EXPECT_EQ(label.ToXML(0, kNoPath), before);
    T3DTest::ClearLog();
    EXPECT_FALSE(label.FromXML(Document({}, KrTheme3D::Theme3DUnique), 0, kNoPath));
    EXPECT_TRUE(T3DTest::LogIds().empty());
}

TEST(LabelXml, KeywordsAndFlagsAreReadIgnoringCase)
{
    KrTheme3DLabel label;
    for (const wchar_t* on : {L"true", L"True", L"TRUE"}) {
        label.SetAlonglineText(false);
        ASSERT_TRUE(label.FromXML(Document({{L"tdx:LabelAlongLine", on}}), 0, kNoPath));
        EXPECT_TRUE(label.IsAlonglineText()) << U8(on);
    }
    for (const wchar_t* other : {L"1", L"yes", L"", L"TRUEE"}) {
        for (bool start : {false, true}) {
            label.SetAlonglineText(start);
            label.FromXML(Document({{L"tdx:LabelAlongLine", other}}), 0, kNoPath);
            EXPECT_EQ(label.IsAlonglineText(), start) << U8(other);
        }
    }
    label.FromXML(Document({{L"tdx:LabelAlongLine", L"fAlSe"}}), 0, kNoPath);
    EXPECT_FALSE(label.IsAlonglineText());

    const std::pair<const wchar_t*, KrTheme3DLabel::KrLabel3DType> keywords[] = {
        {L"label3dtable", KrTheme3DLabel::Label3DTable}, {L"LABEL3DSYMBOL", KrTheme3DLabel::Label3DSymbol},
        {L"Label3DPicture", KrTheme3DLabel::Label3DPicture}, {L"label3DText", KrTheme3DLabel::Label3DText}};
    for (const auto& keyword : keywords) {
        label.SetLabelType(KrTheme3DLabel::Label3DPicture == keyword.second ? KrTheme3DLabel::Label3DText : KrTheme3DLabel::Label3DPicture);
        label.FromXML(Document({{L"tdx:LabelType", keyword.first}}), 0, kNoPath);
        EXPECT_EQ(label.GetLabel3DType(), keyword.second) << U8(keyword.first);
    }
    for (const wchar_t* other : {L"3", L"Label3D", L"Label3DTables", L""}) {
        label.SetLabelType(KrTheme3DLabel::Label3DSymbol);
        label.FromXML(Document({{L"tdx:LabelType", other}}), 0, kNoPath);
        EXPECT_EQ(label.GetLabel3DType(), KrTheme3DLabel::Label3DSymbol) << U8(other);
    }
    // A type without a keyword is written empty and read back as no change
    label.SetLabelType(static_cast<KrTheme3DLabel::KrLabel3DType>(7));
    KrMarkup written(label.ToXML(0, kNoPath).Cstr());
    ASSERT_TRUE(written.FindChildElem(L"tdx:LabelType"));
    EXPECT_EQ(written.GetChildData(), L"");
    KrTheme3DLabel read;
    read.SetLabelType(KrTheme3DLabel::Label3DTable);
    read.FromXML(label.ToXML(0, kNoPath), 0, kNoPath);
    EXPECT_EQ(read.GetLabel3DType(), KrTheme3DLabel::Label3DTable);
}

TEST(LabelXml, MissingElementsKeepMembersAndEmptyOnesReplaceThem)
{
    KrTheme3DLabel label = Configured();
    const KrTextStyle configuredStyle = *label.GetTextStyle();
    ASSERT_TRUE(label.FromXML(Document({}), 0, kNoPath));
    EXPECT_EQ(label.GetExpression(), Configured().GetExpression());
    EXPECT_EQ(label.GetNumFormat(), L"%.2f");
    EXPECT_TRUE(label.IsAlonglineText());
    EXPECT_TRUE(*label.GetTextStyle() == configuredStyle);

    ASSERT_TRUE(label.FromXML(Document({{L"tdx:FieldExpression", L""}, {L"tdx:NumFormat", L""}}), 0, kNoPath));
    EXPECT_EQ(label.GetExpression(), L"");
    EXPECT_EQ(label.GetNumFormat(), L"");
    EXPECT_EQ(label.GetStringFromVariant(BsxVariant(2.5)), L"2.5");

    // A fresh theme read from a document without a text style keeps the constructor's style
    KrTheme3DLabel fresh;
    KrTheme3DLabel read;
    ASSERT_TRUE(read.FromXML(Document({{L"tdx:FieldExpression", L"X"}}), 0, kNoPath));
    EXPECT_TRUE(*read.GetTextStyle() == *fresh.GetTextStyle());

    // Elements are read forward only: one standing before an element already found is not seen
    KrTheme3DLabel ordered;
    ASSERT_TRUE(ordered.FromXML(Document({{L"tdx:NumFormat", L".1f"}, {L"tdx:FieldExpression", L"late"}}), 0, kNoPath));
    EXPECT_EQ(ordered.GetExpression(), L"late");
    EXPECT_EQ(ordered.GetNumFormat(), L"");
    ASSERT_TRUE(ordered.FromXML(Document({{L"tdx:LabelType", L"Label3DTable"}, {L"tdx:NumFormat", L"%.3f"}}), 0, kNoPath));
    EXPECT_EQ(ordered.GetNumFormat(), L"%.3f");
    EXPECT_EQ(ordered.GetLabel3DType(), KrTheme3DLabel::Label3DText);
}
