#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "BsxVariant.h"
#include "KrLogFile.h"
#include "KrTheme3DUnique.h"
#include "TestSupport.h"

using namespace BSX;
using namespace KRN;

namespace {

// Opens the protected item lookup
class OpenUnique : public KrTheme3DUnique {
public:
    using KrTheme3DUnique::FindThemeItem;
};

KrTheme3DItem Item(const wchar_t* caption, bool visible = true, bool modelling = false)
{
    KrTheme3DItem item;
    item.Caption = caption;
    item.Visible = visible;
    item.ModellingStyleEnabled = modelling;
    item.Style.SetLineWidth(static_cast<double>(BsxUnicodeString(caption).GetLength()) + 0.5);
    return item;
}

std::vector<std::string> Keys(const KrTheme3DUnique& t)
{
    std::vector<std::string> keys;
    for (int i = 0; i < t.GetCount(); ++i) keys.push_back(t.GetValueAt(i).ToUtf8());
    return keys;
}

// Where a caption's style is, or what else the lookup gave
std::string Answer(const KrTheme3DUnique& t, const KrStyle* style)
{
    if (!style) return "null";
    if (style == &t.GetDefaultStyle()) return "default";
    for (int i = 0; i < t.GetCount(); ++i)
        if (style == &t.GetAt(i)->Style) return t.GetCaptionAt(i).ToUtf8();
    return "foreign";
}

// The plain walk over the display order that the numeric lookup must agree with
std::string Walk(const KrTheme3DUnique& t, double value)
{
    const double d = BsxVariant(value).ToString().ToDouble();
    for (int i = 0; i < t.GetCount(); ++i) {
        const double e = t.GetValueAt(i).ToDouble() - d;
        if (-1e-10 < e && e < 1e-10) return t.IsVisibleAt(i) ? t.GetCaptionAt(i).ToUtf8() : "default";
    }
    return "default";
}

const wchar_t kDir[] = L"/data/project";

// Keys out of key order, text that XML must escape, an icon below the directory, an invisible
// item and flags on both sides
KrTheme3DUnique Sample()
{
    KrTheme3DUnique t;
    t.SetExpression(L"NAME [#] TYPE");
    t.SetAliasSuffix(L"_u");
    KrStyle def;
    def.SetFillStyle(2);
    t.SetDefaultStyle(def);
    t.SetDefaultModellingStyleEnabled(true);
    KrTheme3DItem b, a, half;
    b.Caption = L"Bee & <co>";
    b.ModellingStyleEnabled = true;
    b.Style.SetLineWidth(2.5);
    b.Style.SetIconName(L"/data/project/icons/b.png");
    a.Visible = false;
    a.Style.SetLineWidth(0.1);
    half.Caption = L"two and a half";
    t.Add(L"b", b);
    t.Add(L"a", a);
    t.Add(L"2.50", half);
    return t;
}

} // namespace

TEST(KrTheme3DUniqueTest, EntriesKeepDisplayOrderAndUniqueKeys)
{
    KrTheme3DUnique t;
    EXPECT_TRUE(t.Add(L"b", Item(L"B")));
    EXPECT_TRUE(t.Add(L"a", Item(L"A")));
    EXPECT_FALSE(t.Add(L"b", Item(L"other")));
    EXPECT_EQ(Keys(t), (std::vector<std::string>{"b", "a"}));
    EXPECT_EQ(t.GetCaptionAt(0), L"B");

    // Past the end and negative both append; inside inserts before
    EXPECT_TRUE(t.InsertItem(1000, L"c", Item(L"C")) && t.InsertItem(-1, L"d", Item(L"D")) && t.InsertItem(1, L"e", Item(L"E")));
    EXPECT_FALSE(t.InsertItem(0, L"a", Item(L"A2")));
    EXPECT_EQ(Keys(t), (std::vector<std::string>{"b", "e", "a", "c", "d"}));

    // Re-keying keeps item and position; empty or taken keys change nothing
    KrTheme3DItem* e = t.GetAt(1);
    t.SetValueAt(1, L"");
    t.SetValueAt(1, L"a");
    EXPECT_EQ(Keys(t), (std::vector<std::string>{"b", "e", "a", "c", "d"}));
    t.SetValueAt(1, L"f");
    EXPECT_EQ(t.GetValueAt(1), L"f");
    EXPECT_EQ(t.Find(L"f"), e);
    EXPECT_FALSE(t.IsExist(L"e"));

    BsxUnicodeString caption = L"untouched";
    EXPECT_FALSE(t.FindCaption(L"zz", caption));
    EXPECT_EQ(caption, L"untouched");
    EXPECT_TRUE(t.FindCaption(L"f", caption));
    EXPECT_EQ(caption, L"E");

    // Removal: clipped to the end, nothing for a negative count or a bad index
    for (const auto& bad : std::vector<std::pair<int, int>>{{0, -1}, {6, 1}, {-1, 1}, {5, 3}}) EXPECT_EQ(t.RemoveAt(bad.first, bad.second), 0);
    EXPECT_EQ(t.RemoveAt(3, 10), 2);
    EXPECT_EQ(Keys(t), (std::vector<std::string>{"b", "f", "a"}));
    EXPECT_FALSE(t.IsExist(L"c"));
    EXPECT_EQ(t.RemoveAt(1, 1), 1);
    EXPECT_EQ(Keys(t), (std::vector<std::string>{"b", "a"}));

    // Index setters, and the array's own bound check beyond the entries
    KrStyle s;
    s.SetFillStyle(7);
    t.SetCaptionAt(1, L"A!"); t.SetVisibleAt(1, false); t.SetStyleAt(1, s);
    const KrTheme3DItem* a = t.Find(L"a");
    EXPECT_TRUE(a->Caption == L"A!" && !a->Visible && &t.GetStyleAt(1) == &a->Style && a->Style.GetFillStyle() == 7);
    EXPECT_THROW(t.GetValueAt(2), std::out_of_range);
    EXPECT_THROW(t.GetAt(-1), std::out_of_range);

    t.SetExpression(L"NAME");
    t.RemoveAll();
    EXPECT_EQ(t.GetCount(), 0);
    EXPECT_EQ(t.GetExpression(), L"NAME");
    EXPECT_TRUE(!t.IsValidValueCount(0) && t.IsValidValueCount(1));
}

TEST(KrTheme3DUniqueTest, ExpressionSplit)
{
    KrTheme3DUnique t;
    const std::vector<std::pair<const wchar_t*, std::vector<std::string>>> cases = {
        {L"NAME [#] TYPE", {"NAME", "TYPE"}}, {L"A [#] B[#]C", {"A", "B", "C"}}, {L"A[#][#]B", {"A", "[#]B"}},
        {L"[#]A", {"[#]A"}}, {L"  X  ", {"X"}}, {L"", {}}, {L"   ", {}}, {L"A[#] [#]B", {"A", "B"}},
    };
    for (const auto& c : cases) {
        t.SetExpression(c.first);
        std::vector<std::string> got;
        for (int i = 0; i < t.GetFieldExpressions().GetCount(); ++i) got.push_back(t.GetFieldExpressions()[i].ToUtf8());
        EXPECT_EQ(got, c.second) << BsxUnicodeString(c.first).ToUtf8();
    }
}

TEST(KrTheme3DUniqueTest, TextAndNumericLookupsWithVisibility)
{
    OpenUnique t;
    t.Add(L"Europe", Item(L"Europe", true, true));
    t.Add(L"Hidden", Item(L"Hidden", false, true));
    t.Add(L"2.5000", Item(L"two and a half", true, true));
    t.Add(L"2.50", Item(L"later 2.5"));
    t.Add(L"7", Item(L"seven"));
    t.Add(L"3", Item(L"three hidden", false));
    t.SetDefaultModellingStyleEnabled(false);

    for (const auto& k : std::vector<std::pair<const wchar_t*, const char*>>{
             {L"", "default"}, {L"Europe", "Europe"}, {L"Hidden", "null"}, {L"Asia", "default"}})
        EXPECT_EQ(Answer(t, t.FindStyle(BsxUnicodeString(k.first))), k.second) << k.second;
    // Reals match numerically, the first key in display order winning (how near, and for which
    // keys: NumericLookupAgreesWithTheWalkThroughEdits); a float goes as its real; text matches
    // exactly; integers go by their text; an invisible item answers null by text but the default
    // style for a real
    const std::vector<std::pair<BsxVariant, const char*>> variants = {
        {BsxVariant(2.5), "two and a half"}, {BsxVariant(2.5f), "two and a half"}, {BsxVariant(L"2.5"), "default"},
        {BsxVariant(L"2.50"), "later 2.5"}, {BsxVariant(7), "seven"}, {BsxVariant(static_cast<long long>(7)), "seven"},
        {BsxVariant(L"3"), "null"}, {BsxVariant(3.0), "default"}};
    for (size_t i = 0; i < variants.size(); ++i)
        EXPECT_EQ(Answer(t, t.FindStyle(variants[i].first)), variants[i].second) << "row " << i;

    EXPECT_EQ(t.FindThemeItem(BsxVariant(2.5)), t.Find(L"2.5000"));
    for (const BsxVariant& none : {BsxVariant(3.0), BsxVariant(L"Hidden"), BsxVariant()}) EXPECT_EQ(t.FindThemeItem(none), nullptr);
    EXPECT_TRUE(t.IsModellingStyleEnabled(BsxVariant(L"Europe")));
    EXPECT_FALSE(t.IsModellingStyleEnabled(BsxVariant(L"Hidden")));
    EXPECT_TRUE(t.IsModellingStyleEnabled(BsxVariant(2.5)));
    t.SetDefaultModellingStyleEnabled(true);
    EXPECT_TRUE(t.IsModellingStyleEnabled(BsxVariant(L"Nowhere")));
    EXPECT_FALSE(t.IsModellingStyleEnabled(BsxVariant(7.0)));

    // Record sets are not classified
    KrStyle s;
    EXPECT_FALSE(t.FindStyle(static_cast<KrRecordset*>(nullptr), s));
}

TEST(KrTheme3DUniqueTest, ExternalValuesAndTheirLogRecords)
{
    OpenUnique t;
    t.Add(L"Europe", Item(L"Europe"));
    t.Add(L"EU", Item(L"EU"));
    t.Add(L"4", Item(L"four"));
    t.SetExternalValue(L"EU", L"Europe");
    t.SetExternalValue(L"2", L"4");

    // Mode 2: mapped on a hit, unchanged on a miss, as mode 0 is
    t.SetExternalValueMode(2);
    T3DTest::ClearLog();
    // {mode, text key, real key, answers}
    const std::vector<std::tuple<int, const wchar_t*, double, const char*, const char*>> modes = {
        {2, L"EU", 2.0, "Europe", "four"}, {2, L"4", 4.0, "four", "four"}, {0, L"EU", 2.0, "EU", "default"},
        {7, L"EU", 2.0, "EU", "default"}, {1, L"EU", 2.0, "Europe", "four"}};
    for (const auto& m : modes) {
        t.SetExternalValueMode(std::get<0>(m));
        EXPECT_EQ(Answer(t, t.FindStyle(BsxUnicodeString(std::get<1>(m)))), std::get<3>(m)) << std::get<0>(m);
        EXPECT_EQ(Answer(t, t.FindStyle(BsxVariant(std::get<2>(m)))), std::get<4>(m)) << std::get<0>(m);
    }
    EXPECT_TRUE(T3DTest::LogIds().empty());

    // Mode 1: a miss is logged and answers the default style; the item lookup stays silent
    EXPECT_EQ(Answer(t, t.FindStyle(L"Europe")), "default");
    EXPECT_EQ(Answer(t, t.FindStyle(BsxVariant(4.0))), "default");
    EXPECT_EQ(Answer(t, t.FindStyle(BsxVariant(L"Europe"))), "default");
    EXPECT_EQ(t.FindThemeItem(BsxVariant(4.0)), nullptr);
    EXPECT_EQ(t.FindThemeItem(BsxVariant(L"Europe")), nullptr);
    EXPECT_EQ(t.FindThemeItem(BsxVariant(L"EU")), t.Find(L"Europe"));
    // An empty key is the default style before any mapping
    EXPECT_EQ(Answer(t, t.FindStyle(BsxUnicodeString())), "default");
    EXPECT_EQ(T3DTest::LogIds(), (std::vector<std::string>{"EGi067", "EGi069", "EGi067"}));
    T3DTest::ClearLog();
}

TEST(KrTheme3DUniqueTest, CopiesKeepAWorkingNumericLookup)
{
    auto source = std::make_unique<KrTheme3DUnique>();
    source->Add(L"z", Item(L"Z"));
    source->Add(L"1.5", Item(L"one and a half"));
    KrTheme3DUnique copy(*source), assigned;
    assigned.Add(L"1.5", Item(L"old"));
    assigned = *source;
    copy.SetCaptionAt(1, L"changed");
    source.reset();
    EXPECT_EQ(Answer(assigned, assigned.FindStyle(BsxVariant(1.5))), "one and a half");
    EXPECT_EQ(Answer(copy, copy.FindStyle(BsxVariant(1.5))), "changed");
}

TEST(KrTheme3DUniqueTest, NumericLookupAgreesWithTheWalkThroughEdits)
{
    // Keys written with different digits for near numbers, keys that are no number, keys that
    // can never match; random edits in between, each followed by lookups compared with the walk
    const std::vector<std::wstring> pool = {L"1",    L"1.0",   L"1.00000000001", L"0.99999999995", L"2.5", L"2.50",
                                            L"-0",   L"0",     L"nan",           L"inf",           L"-inf", L"1e308",
                                            L"abc",  L"3abc",  L"1e-11",         L"-1e-11",        L"7",   L"007",
                                            L"0x10", L"16",    L" 5",            L"5",             L"",    L"1e-300"};
    const std::vector<double> probes = {0, 1, 1 + 1e-11, 2.5, 7, 16, 5, -0.0, 1e308, 3, 1e-300, 0.99999999995,
                                        std::numeric_limits<double>::quiet_NaN(), HUGE_VAL};
    std::mt19937 random(12345);
    KrTheme3DUnique t;
    int serial = 0;
    for (int step = 0; step < 3000; ++step) {
        const std::wstring key = pool[random() % pool.size()];
        const int count = t.GetCount();
        const int index = count > 0 ? static_cast<int>(random() % static_cast<unsigned>(count)) : 0;
        const std::wstring caption = L"c" + std::to_wstring(serial++);
        switch (random() % 8) {
        case 0: case 1: case 2: t.Add(key.c_str(), Item(caption.c_str(), random() % 4 != 0)); break;
        case 3: case 4: t.InsertItem(static_cast<int>(random() % 8) - 2, key.c_str(), Item(caption.c_str())); break;
        case 5: if (count > 0) t.SetValueAt(index, key.c_str()); break;
        case 6: t.RemoveAt(index, static_cast<int>(random() % 4)); break;
        default: if (count > 0) t.SetVisibleAt(index, !t.IsVisibleAt(index)); break;
        }
        if (step % 500 == 499) t = KrTheme3DUnique(t);
        for (double d : probes) ASSERT_EQ(Answer(t, t.FindStyle(BsxVariant(d))), Walk(t, d)) << "step " << step << " d " << d;
        for (int i = 0; i < t.GetCount(); ++i) {
            const double d = t.GetValueAt(i).ToDouble();
            ASSERT_EQ(Answer(t, t.FindStyle(BsxVariant(d))), Walk(t, d)) << "step " << step;
        }
    }
}

TEST(KrTheme3DUniqueXmlTest, WritesTheGoldenDocumentsAndReadsThemBack)
{
    const KrTheme3DUnique sample = Sample();
    T3DTest::ExpectGolden("unique_sample.xml", sample.ToXML(0, kDir));
    // Saving leaves the item's own icon name as it was
    EXPECT_EQ(sample.Find(L"b")->Style.GetIconName(), L"/data/project/icons/b.png");
    T3DTest::ExpectGolden("unique_empty.xml", KrTheme3DUnique().ToXML(0, kDir));

    // What was read is looked up as what was written: the split expression, the numeric keys, and
    // the icon resolved against the folder the document is read in
    KrTheme3DUnique back;
    ASSERT_TRUE(back.FromXML(T3DTest::ReadData("unique_sample.xml"), 20120328, L"/elsewhere"));
    EXPECT_EQ(back.GetFieldExpressions().GetCount(), 2);
    EXPECT_EQ(back.FindStyle(BsxVariant(2.5)), &back.GetAt(2)->Style);
    EXPECT_EQ(back.Find(L"b")->Style.GetIconName(), L"/elsewhere/icons/b.png");
}
