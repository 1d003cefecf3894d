// Round-trip properties over many generated themes of every kind: a document read into a new
// theme writes the same text again, and every value it holds comes back.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "TestSupport.h"
#include "ThemeGenerator.h"

using BSX::BsxUnicodeString;
using namespace KRN;

namespace {

const int kVersions[] = {0, 20090106, 20120328};
const BsxUnicodeString kDir(L"/data/scene");

// The real-number form keeps fifteen significant digits (and fifteen decimals below one);
// infinities come back as themselves
bool SameReal(double expected, double actual)
{
    return expected == actual || std::fabs(expected - actual) <= 1e-14 * std::max(1.0, std::fabs(expected));
}

// Writes theme, reads the text into read, and checks that read writes the very same text
template <class Theme>
BsxUnicodeString WriteReadWrite(const Theme& theme, Theme& read, int version)
{
    const BsxUnicodeString first = theme.ToXML(version, kDir);
    EXPECT_FALSE(first.IsEmpty());
    EXPECT_TRUE(read.FromXML(first, version, kDir)) << T3DTest::U8(first);
    EXPECT_EQ(first, read.ToXML(version, kDir));
    return first;
}

void ExpectSameBase(const KrTheme3D& expected, const KrTheme3D& actual)
{
    EXPECT_EQ(expected.GetAliasSuffix(), actual.GetAliasSuffix());
    EXPECT_EQ(expected.GetExternalValueMode(), actual.GetExternalValueMode());
    EXPECT_EQ(expected.ToXML(0, BsxUnicodeString()), actual.ToXML(0, BsxUnicodeString()));
}

void ExpectSameItem(const KrTheme3DItem& expected, const KrTheme3DItem& actual)
{
    EXPECT_EQ(expected.Caption, actual.Caption);
    EXPECT_EQ(expected.Visible, actual.Visible);
    EXPECT_EQ(expected.ModellingStyleEnabled, actual.ModellingStyleEnabled);
    // The icon name was stored relative to the document's folder and is absolute again
    EXPECT_EQ(expected.Style.GetIconName(), actual.Style.GetIconName());
    EXPECT_TRUE(expected.Style == actual.Style) << T3DTest::U8(actual.Style.ToXML(0));
}

} // namespace

TEST(RoundTrip, UniqueThemesKeepEveryEntryInDisplayOrder)
{
    T3DTest::ThemeGenerator gen(11);
    for (int n = 0; n < 150; ++n) {
        KrTheme3DUnique theme, read;
        gen.Fill(theme, kDir);
        WriteReadWrite(theme, read, kVersions[n % 3]);
        ExpectSameBase(theme, read);
        EXPECT_EQ(theme.GetExpression(), read.GetExpression());
        EXPECT_EQ(theme.GetFieldExpressions().GetSize(), read.GetFieldExpressions().GetSize());
        EXPECT_TRUE(theme.GetDefaultStyle() == read.GetDefaultStyle());
        EXPECT_EQ(theme.GetDefaultModellingStyleEnabled(), read.GetDefaultModellingStyleEnabled());
        ASSERT_EQ(theme.GetCount(), read.GetCount());
        for (int i = 0; i < theme.GetCount(); ++i) {
            EXPECT_EQ(theme.GetValueAt(i), read.GetValueAt(i));
            ExpectSameItem(*theme.GetAt(i), *read.GetAt(i));
        }
        if (HasFailure()) FAIL() << "theme " << n << "\n" << T3DTest::U8(theme.ToXML(0, kDir));
    }
}

TEST(RoundTrip, RangeThemesKeepBreaksWithinTheRealFormAndEveryItem)
{
    T3DTest::ThemeGenerator gen(22);
    for (int n = 0; n < 150; ++n) {
        KrTheme3DRange theme, read;
        gen.Fill(theme, kDir);
        WriteReadWrite(theme, read, kVersions[n % 3]);
        ExpectSameBase(theme, read);
        EXPECT_EQ(theme.GetExpression(), read.GetExpression());
        EXPECT_EQ(theme.GetClassType(), read.GetClassType());
        EXPECT_EQ(theme.IsDescending(), read.IsDescending());
        ASSERT_EQ(theme.GetValueCount(), read.GetValueCount());
        for (int i = 0; i < theme.GetValueCount(); ++i)
            EXPECT_PRED2(SameReal, theme.GetValueAt(i), read.GetValueAt(i)) << "break " << i;
        ASSERT_EQ(theme.GetCount(), read.GetCount());
        for (int i = 0; i < theme.GetCount(); ++i) ExpectSameItem(*theme.GetAt(i), *read.GetAt(i));
        if (HasFailure()) FAIL() << "theme " << n << "\n" << T3DTest::U8(theme.ToXML(0, kDir));
    }
}

TEST(RoundTrip, LabelThemesKeepTheirSettingsAndFormatLikeTheOriginal)
{
    T3DTest::ThemeGenerator gen(33);
    for (int n = 0; n < 200; ++n) {
        KrTheme3DLabel theme, read;
        gen.Fill(theme);
        WriteReadWrite(theme, read, kVersions[n % 3]);
        ExpectSameBase(theme, read);
        EXPECT_EQ(theme.GetExpression(), read.GetExpression());
        EXPECT_EQ(theme.GetNumFormat(), read.GetNumFormat());
        EXPECT_EQ(theme.GetLabel3DType(), read.GetLabel3DType());
        EXPECT_EQ(theme.IsAlonglineText(), read.IsAlonglineText());
        EXPECT_EQ(theme.GetTextStyle()->ToXML(0), read.GetTextStyle()->ToXML(0));
        const double value = gen.Real();
        EXPECT_EQ(theme.GetStringFromVariant(BSX::BsxVariant(value)), read.GetStringFromVariant(BSX::BsxVariant(value)));
        if (HasFailure()) FAIL() << "theme " << n << "\n" << T3DTest::U8(theme.ToXML(0, kDir));
    }
}

TEST(RoundTrip, GraphThemesAndChartItemsKeepEveryItemKeyAndSetting)
{
    T3DTest::ThemeGenerator gen(44);
    for (int n = 0; n < 150; ++n) {
        KrTheme3DGraph theme, read;
        gen.Fill(theme);
        WriteReadWrite(theme, read, kVersions[n % 3]);
        ExpectSameBase(theme, read);
        EXPECT_EQ(theme.GetGraphType(), read.GetGraphType());
        EXPECT_PRED2(SameReal, theme.GetBarWidth(), read.GetBarWidth());
        EXPECT_PRED2(SameReal, theme.GetStartAngle(), read.GetStartAngle());
        EXPECT_EQ(theme.IsShowItemText(), read.IsShowItemText());
        EXPECT_EQ(theme.GetItemTextFormat(), read.GetItemTextFormat());
        EXPECT_EQ(theme.GetGraduatedMode(), read.GetGraduatedMode());
        EXPECT_EQ(theme.GetItemTextStyle().ToXML(0), read.GetItemTextStyle().ToXML(0));
        for (auto sum : {&KrTheme3DGraph::GetMinSum, &KrTheme3DGraph::GetMaxSum, &KrTheme3DGraph::GetSqrtMinSum,
                         &KrTheme3DGraph::GetSqrtMaxSum, &KrTheme3DGraph::GetLogMinSum, &KrTheme3DGraph::GetLogMaxSum})
            EXPECT_PRED2(SameReal, (theme.*sum)(), (read.*sum)());
        EXPECT_PRED2(SameReal, theme.GetMinSize().cx, read.GetMinSize().cx);
        EXPECT_PRED2(SameReal, theme.GetMaxSize().cy, read.GetMaxSize().cy);
        ASSERT_EQ(theme.GetJoinArrayField().GetSize(), read.GetJoinArrayField().GetSize());
        for (int i = 0; i < theme.GetJoinArrayField().GetSize(); ++i)
            EXPECT_EQ(theme.GetJoinArrayField()[i], read.GetJoinArrayField()[i]);
        ASSERT_EQ(theme.GetCount(), read.GetCount());
        for (int i = 0; i < theme.GetCount(); ++i) {
            const Kr3DGraphItem& a = theme.GetItem(i);
            const Kr3DGraphItem& b = read.GetItem(i);
            EXPECT_EQ(a.Type, b.Type);
            EXPECT_EQ(a.FieldExpression, b.FieldExpression);
            EXPECT_EQ(a.Caption, b.Caption);
            EXPECT_TRUE(a.Style == b.Style);
            // Only array items write their values (with six decimals); a field item read after
            // an array item may keep that item's values, which no document holds
            if (a.Type != Kr3DGraphItem::ArrayItem) continue;
            ASSERT_EQ(a.ArrayValues.GetSize(), b.ArrayValues.GetSize());
            for (int k = 0; k < a.ArrayValues.GetSize(); ++k) EXPECT_NEAR(a.ArrayValues[k], b.ArrayValues[k], 5e-7 + 4e-16 * std::fabs(a.ArrayValues[k]));
        }
        if (HasFailure()) FAIL() << "theme " << n << "\n" << T3DTest::U8(theme.ToXML(0, kDir));
    }
    // The chart item record on its own, in every revision it is read from
    const int itemVersions[] = {0, 20031211, 20031212, 20090106, 20120328};
    for (int n = 0; n < 300; ++n) {
        Kr3DGraphItem item, read;
        gen.Fill(item);
        const BsxUnicodeString first = item.ToXML(0);
        ASSERT_TRUE(read.FromXML(first, itemVersions[n % 5]));
        EXPECT_EQ(first, read.ToXML(0));
        EXPECT_EQ(item.Caption, read.Caption);
        EXPECT_EQ(item.FieldExpression, read.FieldExpression);
        if (item.Type == Kr3DGraphItem::ArrayItem) {
            EXPECT_EQ(item.ArrayValues.GetSize(), read.ArrayValues.GetSize());
        }
        if (HasFailure()) FAIL() << "item " << n << "\n" << T3DTest::U8(first);
    }
}

TEST(RoundTrip, CustomThemesKeepEveryExpression)
{
    T3DTest::ThemeGenerator gen(55);
    for (int n = 0; n < 300; ++n) {
        KrTheme3DCustom theme, read, over;
        gen.Fill(theme);
        WriteReadWrite(theme, read, kVersions[n % 3]);
        ExpectSameBase(theme, read);
        // Reading never empties an expression the document leaves out: read over other ones
        gen.Fill(over);
        const KrTheme3DCustom before(over);
        ASSERT_TRUE(over.FromXML(theme.ToXML(0, kDir), 0, kDir));
        const BsxUnicodeString KrTheme3DCustom::*members[] = {
            &KrTheme3DCustom::AltitudeMode, &KrTheme3DCustom::BottomAltitude, &KrTheme3DCustom::ExtendHeight,
            &KrTheme3DCustom::BillboardMode, &KrTheme3DCustom::MarkerStyle, &KrTheme3DCustom::IconName,
            &KrTheme3DCustom::IconScale, &KrTheme3DCustom::ColorPoint, &KrTheme3DCustom::LineStyle,
            &KrTheme3DCustom::LineWidth, &KrTheme3DCustom::LineColor, &KrTheme3DCustom::FillStyle,
            &KrTheme3DCustom::Fill3DMode, &KrTheme3DCustom::FillForeColor, &KrTheme3DCustom::ScaleX,
            &KrTheme3DCustom::ScaleY, &KrTheme3DCustom::ScaleZ, &KrTheme3DCustom::RotateX,
            &KrTheme3DCustom::RotateY, &KrTheme3DCustom::RotateZ};
        for (auto member : members) {
            EXPECT_EQ(theme.*member, read.*member);
            EXPECT_EQ((theme.*member).IsEmpty() ? before.*member : theme.*member, over.*member);
        }
        if (HasFailure()) FAIL() << "theme " << n << "\n" << T3DTest::U8(theme.ToXML(0, kDir));
    }
}

// Seed documents for the fuzz targets, written by the module itself. Run with
// T3D_WRITE_SEEDS=<Fuzz/corpus folder> to refresh them; otherwise this only checks that the
// seeds are documents their readers accept.
TEST(RoundTrip, SeedDocumentsForTheFuzzTargets)
{
    const char* out = std::getenv("T3D_WRITE_SEEDS");
    T3DTest::ThemeGenerator gen(66);
    auto save = [out](const std::string& folder, int n, const std::string& prefix, const BsxUnicodeString& text) {
        ASSERT_FALSE(text.IsEmpty());
        if (!out) return;
        const std::filesystem::path dir = std::filesystem::path(out) / folder;
        std::filesystem::create_directories(dir);
        std::ofstream(dir / ("written_" + std::to_string(n) + ".xml"), std::ios::binary) << prefix << text.ToUtf8();
    };
    // Targets that take a selector byte first: 'H' picks the current revision and external mode 0
    for (int n = 0; n < 4; ++n) {
        KrTheme3DUnique unique;
        gen.Fill(unique, kDir);
        save("Unique", n, "H", unique.ToXML(0, BsxUnicodeString(L"/d")));
        KrTheme3DRange range;
        gen.Fill(range, kDir);
        save("Range", n, "H", range.ToXML(0, BsxUnicodeString(L"/d")));
        KrTheme3DCustom custom;
        gen.Fill(custom);
        save("Custom", n, "H", custom.ToXML(0, BsxUnicodeString()));
        save("Markup", n, "\x05", custom.ToXML(0, BsxUnicodeString()));
        KrTheme3DLabel label;
        gen.Fill(label);
        save("Label", n, "", label.ToXML(0, BsxUnicodeString()));
        KrTheme3DGraph graph;
        gen.Fill(graph);
        save("Graph", n, "", graph.ToXML(0, BsxUnicodeString()));
        Kr3DGraphItem item;
        gen.Fill(item);
        save("GraphItem", n, "", item.ToXML(0));
    }
}
