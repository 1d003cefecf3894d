// Hostile documents (Tests/Data/broken/<kind>_<case>.<outcome>.xml) against every reader: a
// ".refused" document answers false and leaves the theme as it was, a ".read" one answers true
// with the theme whose document is broken/written/<same name>, and that document reads back into
// the same text. Each is read over the same theme of its kind, so what the reader keeps of the
// theme before shows in the written document. Nothing may crash or hang.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "TestSupport.h"
#include "ThemeGenerator.h"

using BSX::BsxUnicodeString;
using namespace KRN;

namespace {

const BsxUnicodeString kDir(L"/data/scene");

std::vector<std::string> BrokenFiles(const std::string& kind)
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(std::string(T3D_TEST_DATA_DIR) + "/broken")) {
        const std::string name = entry.path().filename().string();
        if (name.rfind(kind + "_", 0) == 0) names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

bool Refused(const std::string& name) { return name.find(".refused.") != std::string::npos; }

template <class Theme>
using ExtraCheck = void (*)(const std::string& name, const BsxUnicodeString& text, Theme& theme);

// logsFailures: the kinds that log their reading failures ("EGg040"); the others fail silently
template <class Theme>
void CheckBroken(const std::string& kind, KrTheme3D::KrTheme3DType type, bool logsFailures, ExtraCheck<Theme> check = nullptr)
{
    const std::vector<std::string> names = BrokenFiles(kind);
    ASSERT_GE(names.size(), 10u) << kind;
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        const BsxUnicodeString text = T3DTest::ReadData("broken/" + name);
        ASSERT_FALSE(text.IsEmpty());
        T3DTest::ThemeGenerator gen(77);
        gen.SkipBase();
        Theme theme;
        gen.Fill(theme);
        const BsxUnicodeString before = theme.ToXML(0, kDir);
        T3DTest::ClearLog();
        const bool read = theme.FromXML(text, 0, kDir);
        EXPECT_EQ(type, theme.GetType());
        if (Refused(name)) {
            EXPECT_FALSE(read);
            EXPECT_EQ(before, theme.ToXML(0, kDir));
            // A foreign type code is refused without a record; a document the base cannot read is logged
            const bool logged = logsFailures && name.find("type") == std::string::npos;
            EXPECT_EQ(logged ? std::vector<std::string>{"EGg040"} : std::vector<std::string>{}, T3DTest::LogIds());
            continue;
        }
        EXPECT_TRUE(read);
        EXPECT_TRUE(T3DTest::LogIds().empty());
        const BsxUnicodeString first = theme.ToXML(0, kDir);
        T3DTest::ExpectGolden("broken/written/" + name, first);
        Theme again;
        EXPECT_TRUE(again.FromXML(first, 0, kDir));
        EXPECT_EQ(first, again.ToXML(0, kDir));
        if (check) check(name, text, theme);
    }
}

// A document nested far deeper than any real one, inside the root of a valid document
BsxUnicodeString DeeplyNested(const BsxUnicodeString& valid, int depth)
{
    std::wstring text = valid.Str();
    const size_t end = text.rfind(L"</tdx:");
    std::wstring nest;
    for (int i = 0; i < depth; ++i) nest += L"<tdx:Style>";
    for (int i = 0; i < depth; ++i) nest += L"</tdx:Style>";
    text.insert(end, nest);
    return BsxUnicodeString(text.c_str());
}

} // namespace

TEST(BrokenInput, UniqueRangeAndCustomReadersAnswerAsTheirEnvelopeSays)
{
    CheckBroken<KrTheme3DUnique>("unique", KrTheme3D::Theme3DUnique, false);
    CheckBroken<KrTheme3DRange>("range", KrTheme3D::Theme3DRange, false);
    CheckBroken<KrTheme3DCustom>("custom", KrTheme3D::Theme3DCustom, true);
}

TEST(BrokenInput, LabelReaderStoresHostileNumberFormatsThatThenFallBackToTheDefault)
{
    CheckBroken<KrTheme3DLabel>("label", KrTheme3D::Theme3DLabel, false, [](const std::string& name, const BsxUnicodeString&, KrTheme3DLabel& label) {
        if (name.rfind("label_format_", 0) != 0) return;
        // The stored text comes back as it was, unchecked
        EXPECT_FALSE(label.GetNumFormat().IsEmpty());
        // "%n", "%s", "%*d", huge widths and precisions, two conversions, only "%", a literal
        // longer than any label: the label cannot use the format and formats as with none
        EXPECT_EQ(BsxUnicodeString(L"2.5"), label.GetStringFromVariant(BSX::BsxVariant(2.5)));
        EXPECT_EQ(BsxUnicodeString(L"0.5000000000"), label.GetStringFromVariant(BSX::BsxVariant(0.5f)));
    });
}

TEST(BrokenInput, GraphAndChartItemReadersBoundClaimedCountsByTheDocument)
{
    CheckBroken<KrTheme3DGraph>("graph", KrTheme3D::Theme3DGraph, true, [](const std::string&, const BsxUnicodeString& text, KrTheme3DGraph& graph) {
        EXPECT_LE(graph.GetJoinArrayField().GetSize(), text.GetLength());
        for (int i = 0; i < graph.GetCount(); ++i) EXPECT_LE(graph.GetItem(i).ArrayValues.GetSize(), text.GetLength());
    });
    for (const std::string& name : BrokenFiles("graphitem")) {
        SCOPED_TRACE(name);
        const BsxUnicodeString text = T3DTest::ReadData("broken/" + name);
        Kr3DGraphItem item;
        item.Caption = L"kept";
        T3DTest::ClearLog();
        const bool read = item.FromXML(text, 0);
        EXPECT_EQ(!Refused(name), read);
        if (!read) {
            EXPECT_EQ(BsxUnicodeString(L"kept"), item.Caption);
            EXPECT_EQ(std::vector<std::string>{"EGg040"}, T3DTest::LogIds());
            continue;
        }
        EXPECT_LE(item.ArrayValues.GetSize(), text.GetLength());
        T3DTest::ExpectGolden("broken/written/" + name, item.ToXML(0));
        Kr3DGraphItem again;
        EXPECT_TRUE(again.FromXML(item.ToXML(0), 0));
        EXPECT_EQ(item.ToXML(0), again.ToXML(0));
    }
}

TEST(BrokenInput, DeepNestingAndMegabyteTextsAreReadWithoutLoss)
{
    T3DTest::ThemeGenerator gen(88);
    KrTheme3DUnique unique;
    gen.Fill(unique);
    // A caption and a key of a million characters outside the Latin script survive
    std::wstring huge;
    while (huge.size() < 1000000) huge += L"\u4e2d\u6587 \u0639\u0631\u0628\u064a & <\U0001F600> ";
    KrTheme3DItem item;
    item.Caption = BsxUnicodeString(huge.c_str());
    unique.Add(BsxUnicodeString(huge.c_str()), item);
    KrTheme3DUnique read;
    ASSERT_TRUE(read.FromXML(unique.ToXML(0, kDir), 0, kDir));
    ASSERT_EQ(unique.GetCount(), read.GetCount());
    EXPECT_TRUE(read.IsExist(BsxUnicodeString(huge.c_str())));
    EXPECT_EQ(item.Caption, read.GetCaptionAt(read.GetCount() - 1));

    // A hundred thousand levels of nesting inside an otherwise valid document: the documents
    // are read as if the nest were not there
    auto nested = [&gen](auto theme) {
        decltype(theme) read;
        gen.Fill(theme);
        EXPECT_TRUE(read.FromXML(DeeplyNested(theme.ToXML(0, kDir), 100000), 0, kDir)) << theme.GetType();
        EXPECT_EQ(theme.ToXML(0, kDir), read.ToXML(0, kDir));
    };
    nested(KrTheme3DRange());
    nested(KrTheme3DCustom());
    nested(KrTheme3DGraph());
    nested(KrTheme3DLabel());
}
