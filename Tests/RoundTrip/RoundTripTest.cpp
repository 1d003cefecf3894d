// What every kind does alike, checked over many generated themes of each. Round trips: a document
// read into a new theme writes the same text again; the documents carry every member a theme
// persists, so the comparison of texts covers each of them. Assignment and self-assignment, the
// query field name, and the field types a kind classifies.
#include <gtest/gtest.h>

#include <memory>
#include <set>

#include "TestSupport.h"
#include "ThemeGenerator.h"

using BSX::BsxUnicodeString;
using namespace KRN;

namespace {

const int kVersions[] = {0, 20090106, 20120328};
const BsxUnicodeString kDir(L"/data/scene");

template <class Theme, class Fill>
void ExpectRoundTrips(unsigned seed, int count, Fill fill)
{
    T3DTest::ThemeGenerator gen(seed);
    for (int n = 0; n < count; ++n) {
        Theme theme, read;
        fill(gen, theme);
        const int version = kVersions[n % 3];
        const BsxUnicodeString first = theme.ToXML(version, kDir);
        ASSERT_FALSE(first.IsEmpty());
        // Every revision that has a document writes the same one
        ASSERT_EQ(first, theme.ToXML(0, kDir)) << "theme " << n;
        ASSERT_TRUE(read.FromXML(first, version, kDir)) << T3DTest::U8(first);
        // Read again elsewhere: icon names were stored relative to the folder and come back
        // absolute against the new one, so the text written from there is the same
        ASSERT_EQ(first, read.ToXML(version, kDir)) << "theme " << n;
        Theme moved;
        ASSERT_TRUE(moved.FromXML(first, version, L"/other/place"));
        ASSERT_EQ(first, moved.ToXML(version, L"/other/place")) << "theme " << n;
    }
}

} // namespace

TEST(RoundTrip, EveryKindWritesWhatItReads)
{
    ExpectRoundTrips<KrTheme3DUnique>(11, 150, [](T3DTest::ThemeGenerator& g, KrTheme3DUnique& t) { g.Fill(t, kDir); });
    ExpectRoundTrips<KrTheme3DRange>(22, 150, [](T3DTest::ThemeGenerator& g, KrTheme3DRange& t) { g.Fill(t, kDir); });
    ExpectRoundTrips<KrTheme3DLabel>(33, 200, [](T3DTest::ThemeGenerator& g, KrTheme3DLabel& t) { g.Fill(t); });
    ExpectRoundTrips<KrTheme3DGraph>(44, 150, [](T3DTest::ThemeGenerator& g, KrTheme3DGraph& t) { g.Fill(t); });
    ExpectRoundTrips<KrTheme3DCustom>(55, 300, [](T3DTest::ThemeGenerator& g, KrTheme3DCustom& t) { g.Fill(t); });
}

TEST(RoundTrip, RevisionsWithoutADocumentChangeNothing)
{
    // Nothing is written in a revision without a document of its own; reading in one answers
    // true with nothing read, except for the range theme, which refuses (the graph theme reads
    // every revision, see its own tests)
    T3DTest::ThemeGenerator gen(66);
    auto check = [&](auto theme, bool answer) {
        gen.Fill(theme);
        const BsxUnicodeString before = theme.ToXML(0, kDir);
        T3DTest::ClearLog();
        for (int version : {1, 12345, 20050101}) {
            EXPECT_EQ(theme.ToXML(version, kDir), L"") << theme.GetType();
            EXPECT_EQ(theme.FromXML(before, version, kDir), answer) << theme.GetType();
        }
        EXPECT_EQ(theme.ToXML(0, kDir), before) << theme.GetType();
        EXPECT_TRUE(T3DTest::LogIds().empty()) << theme.GetType();
    };
    check(KrTheme3DUnique(), true);
    check(KrTheme3DRange(), false);
    check(KrTheme3DLabel(), true);
    check(KrTheme3DCustom(), true);
}

TEST(RoundTrip, ChartItemRecordsInEveryRevisionTheyAreReadFrom)
{
    T3DTest::ThemeGenerator gen(44);
    const int versions[] = {0, 20031211, 20031212, 20090106, 20120328};
    for (int n = 0; n < 300; ++n) {
        Kr3DGraphItem item, read;
        gen.Fill(item);
        const BsxUnicodeString first = item.ToXML(0);
        ASSERT_TRUE(read.FromXML(first, versions[n % 5]));
        ASSERT_EQ(first, read.ToXML(0)) << "item " << n;
    }
}

TEST(EveryKind, AssignmentCopiesEverythingPersistedAndOutlivesTheSource)
{
    T3DTest::ThemeGenerator gen(99);
    auto check = [&](auto kind) {
        using Theme = decltype(kind);
        auto source = std::make_unique<Theme>();
        Theme target;
        gen.Fill(*source);
        gen.Fill(target);
        const BsxUnicodeString written = source->ToXML(0, L"/d");
        target = *source;
        const Theme& self = target;
        target = self;
        source.reset();
        EXPECT_EQ(target.ToXML(0, L"/d"), written) << target.GetType();
    };
    check(KrTheme3DUnique());
    check(KrTheme3DRange());
    check(KrTheme3DLabel());
    check(KrTheme3DGraph());
    check(KrTheme3DCustom());
}

TEST(EveryKind, QueryFieldNameAndClassifiedFieldTypes)
{
    KrTheme3DUnique unique;
    KrTheme3DRange range;
    KrTheme3DLabel label;
    KrTheme3DCustom custom;
    struct Kind {
        KrTheme3D& theme;
        const wchar_t* name;
        std::set<int> types; // empty: the kind accepts every type the host's base class does
    };
    const Kind kinds[] = {{unique, L"Theme3DUnique7", {1, 2, 3, 4, 6, 7, 10, 16}},
                          {range, L"Theme3DRange7", {2, 3, 4, 6, 7, 16}},
                          {label, L"Theme3DLabel7", {}},
                          {custom, L"Theme3DCustom7", {2, 3, 4, 16}}};
    for (const Kind& k : kinds) {
        SCOPED_TRACE(k.theme.GetType());
        k.theme.SetAliasSuffix(L"7");
        EXPECT_EQ(k.theme.GetFieldName(false), k.name);
        // Without an expression there is nothing to query, except for the custom theme, which
        // queries its properties under the name itself
        EXPECT_EQ(k.theme.GetFieldName(true), &k.theme == &custom ? k.name : L"");
        for (int type = -1; type <= 20 && !k.types.empty(); ++type)
            EXPECT_EQ(k.theme.CheckFieldType(type), k.types.count(type) == 1) << type;
    }
    unique.SetExpression(L"NAME [#] TYPE");
    EXPECT_EQ(unique.GetFieldName(true), L"NAME [#] TYPE as Theme3DUnique7");
    range.SetExpression(L"A+B");
    EXPECT_EQ(range.GetFieldName(true), L"A+B as Theme3DRange7");
    label.SetExpression(L"POP / 1000");
    EXPECT_EQ(label.GetFieldName(true), L"POP / 1000 as Theme3DLabel7");
}
