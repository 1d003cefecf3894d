// What every kind does alike, checked once over generated themes of each: assignment and
// self-assignment, the query field name, and the field types a kind classifies.
#include <gtest/gtest.h>

#include <memory>
#include <set>

#include "TestSupport.h"
#include "ThemeGenerator.h"

using BSX::BsxUnicodeString;
using namespace KRN;

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
