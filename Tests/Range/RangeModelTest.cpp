#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "BsxVariant.h"
#include "KrTheme3DItem.h"
#include "RangeTestSupport.h"
#include "TestSupport.h"

using namespace BSX;
using namespace KRN;
using T3DTest::Breaks;
using T3DTest::ItemOf;
using T3DTest::Range;

namespace {

KrTheme3DItem Captioned(const wchar_t* caption)
{
    KrTheme3DItem item;
    item.Caption = caption;
    return item;
}

// The range walk as a host would write it, from the first break, to check the theme's search
int WalkIndex(const std::vector<double>& b, bool descending, double v)
{
    size_t k = 0;
    if (!descending) {
        while (k < b.size() && !(b[k] > v)) ++k;
    } else {
        while (k < b.size() && !(v > b[k]) && !(b[k] - v > -1e-10 && b[k] - v < 1e-10)) ++k;
    }
    return static_cast<int>(k);
}

} // namespace

TEST(KrTheme3DRangeTest, AddKeepsOneItemMoreThanBreaksAndDropsNearDuplicates)
{
    KrTheme3DRange r;
    EXPECT_EQ(r.GetType(), KrTheme3D::Theme3DRange);
    EXPECT_EQ(r.Add(10, Captioned(L"a")), 2);
    EXPECT_EQ(r.Add(20, Captioned(L"b")), 3);
    EXPECT_EQ(r.Add(20.00000000001, Captioned(L"c")), 3);
    EXPECT_EQ(Breaks(r), (std::vector<double>{10, 20}));
    EXPECT_EQ(r.GetCaptionAt(0) + r.GetCaptionAt(1) + r.GetCaptionAt(2), L"aab");
    for (const auto& f : std::vector<std::pair<double, int>>{{20.00000000001, 1}, {10 - 0.5e-10, 0}, {10 - 2e-10, -1}, {std::nan(""), -1}})
        EXPECT_EQ(r.Find(f.first), f.second) << f.first;

    // Out-of-order breaks use a scan for the duplicate test, with the same answers
    for (const auto& a : std::vector<std::pair<double, int>>{{5, 4}, {15, 5}, {5.00000000001, 5}}) EXPECT_EQ(r.Add(a.first, KrTheme3DItem()), a.second);
    for (const auto& f : std::vector<std::pair<double, int>>{{15, 3}, {20, 1}, {7, -1}}) EXPECT_EQ(r.Find(f.first), f.second) << f.first;

    // Descending breaks are searched too; the first break within the tolerance is answered
    KrTheme3DRange d;
    for (double b : {30.0, 20.0, 10.0}) d.Add(b, KrTheme3DItem());
    d.InsertAt(2, 20 - 0.6e-10, KrTheme3DItem());
    for (const auto& f : std::vector<std::pair<double, int>>{{20 - 0.3e-10, 1}, {20 - 1.2e-10, 2}, {25, -1}}) EXPECT_EQ(d.Find(f.first), f.second);
    EXPECT_EQ(d.Add(10.00000000001, KrTheme3DItem()), 5);
}

// Which range a value falls in, for either order, breaks, values near them, NaN and infinities:
// SearchAnswersExactlyWhatTheWalkAnswers
TEST(KrTheme3DRangeTest, InvisibleRangesAndEmptyThemes)
{
    Range up;
    up.Add(5, KrTheme3DItem());
    up.Add(10, KrTheme3DItem());
    // An invisible range answers no style and the modelling default
    up.GetAt(1)->ModellingStyleEnabled = true;
    up.GetAt(2)->ModellingStyleEnabled = true;
    EXPECT_TRUE(up.IsModellingStyleEnabled(BsxVariant(7.0)));
    EXPECT_FALSE(up.IsModellingStyleEnabled(BsxVariant(1.0)));
    up.SetVisibleAt(1, false);
    EXPECT_EQ(up.FindStyle(7.0), nullptr);
    EXPECT_EQ(up.FindStyle(BsxVariant(7)), nullptr);
    EXPECT_TRUE(up.IsModellingStyleEnabled(BsxVariant(7.0)));

    KrTheme3DRange empty;
    for (double v : {-1.0, 0.0, 1e300}) EXPECT_EQ(empty.FindStyle(v), nullptr);
    EXPECT_TRUE(empty.IsModellingStyleEnabled(BsxVariant(1.0)));
    EXPECT_TRUE(!empty.IsValidValueCount(0) && empty.IsValidValueCount(1));
    // Record sets are not classified
    KrStyle style;
    EXPECT_FALSE(empty.FindStyle(static_cast<KrRecordset*>(nullptr), style));
}

TEST(KrTheme3DRangeTest, SearchAnswersExactlyWhatTheWalkAnswers)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<double> spread(-1000, 1000);
    for (int round = 0; round < 60; ++round) {
        Range r;
        const bool descending = round % 2 == 1;
        r.SetDescending(descending);
        std::vector<double> b;
        for (int i = 0; i < 1 + round * 3; ++i) b.push_back(std::round(spread(random) * 4) / 4);
        if (round % 5 == 0) b.push_back(HUGE_VAL), b.push_back(-HUGE_VAL);
        std::sort(b.begin(), b.end());
        if (descending) std::reverse(b.begin(), b.end());
        for (double v : b) r.InsertAt(r.GetValueCount(), v, KrTheme3DItem()); // keeps repeats
        if (round % 3 == 2 && b.size() > 2) {
            // Out of order: the lookup has to fall back to the walk
            b[1] = b[b.size() - 1] + (descending ? -1 : 1);
            r.SetValueAt(1, b[1]);
        }
        ASSERT_EQ(Breaks(r), b);
        std::vector<double> probes = {std::nan(""), HUGE_VAL, -HUGE_VAL, 0};
        for (double x : b)
            for (double d : {0.0, 1e-10, -1e-10, 0.5e-10, -0.5e-10, 0.25, -0.25})
                probes.push_back(x + d), probes.push_back(std::nextafter(x + d, HUGE_VAL));
        for (double v : probes) {
            const int k = WalkIndex(b, descending, v);
            ASSERT_EQ(ItemOf(r, v), k) << "round " << round << " value " << v;
        }
    }

    // A changed break that restores the order brings the search back with the same answers
    Range fixed;
    for (double v : {1.0, 2.0, 3.0}) fixed.Add(v, KrTheme3DItem());
    fixed.SetValueAt(1, 9);
    EXPECT_EQ(ItemOf(fixed, 2.5), 1); // the walk stops at the first break above
    EXPECT_EQ(ItemOf(fixed, 9.5), 3);
    fixed.SetValueAt(1, 2);
    EXPECT_EQ(ItemOf(fixed, 2.5), 2);
    EXPECT_EQ(ItemOf(fixed, 2), 2);
}

TEST(KrTheme3DRangeTest, VariantsConvertThroughTheExternalValueMode)
{
    KrTheme3DRange r;
    r.Add(5, KrTheme3DItem());
    r.Add(10, KrTheme3DItem());
    T3DTest::ClearLog();
    EXPECT_EQ(r.FindStyle(BsxVariant(7)), &r.GetAt(1)->Style);
    EXPECT_EQ(r.FindStyle(BsxVariant(L" 12 ")), &r.GetAt(2)->Style);
    EXPECT_TRUE(T3DTest::LogIds().empty());

    EXPECT_EQ(r.FindStyle(BsxVariant(L"abc")), nullptr);
    EXPECT_EQ(T3DTest::LogIds(), (std::vector<std::string>{"EEe007", "EGi055"}));
    T3DTest::ClearLog();
    r.GetAt(0)->ModellingStyleEnabled = false;
    EXPECT_TRUE(r.IsModellingStyleEnabled(BsxVariant()));
    EXPECT_EQ(T3DTest::LogIds(), (std::vector<std::string>{"EEe007", "EGi055"}));

    // Mode 2 is not translated by this theme
    r.SetExternalValueMode(2);
    r.SetExternalValue(L"low", L"1");
    T3DTest::ClearLog();
    EXPECT_EQ(r.FindStyle(BsxVariant(L"low")), nullptr);
    EXPECT_EQ(T3DTest::LogIds().size(), 2u);

    // Mode 1 maps through the table, or reads the text itself, and never logs
    r.SetExternalValueMode(1);
    T3DTest::ClearLog();
    for (const auto& m : std::vector<std::pair<BsxVariant, int>>{{BsxVariant(L"low"), 0}, {BsxVariant(L"7"), 1}, {BsxVariant(L"abc"), 0}, {BsxVariant(12.5), 2}})
        EXPECT_EQ(r.FindStyle(m.first), &r.GetAt(m.second)->Style) << m.second;
    EXPECT_TRUE(T3DTest::LogIds().empty());
}

TEST(KrTheme3DRangeTest, InsertingAndRemovingKeepTheRangesTogether)
{
    KrTheme3DRange r;
    r.Add(5, Captioned(L"low"));
    r.Add(10, Captioned(L"high"));
    EXPECT_TRUE(r.InsertAt(1, 7, Captioned(L"new")));
    EXPECT_EQ(Breaks(r), (std::vector<double>{5, 7, 10}));
    EXPECT_EQ(ItemOf(r, 6), 1);
    EXPECT_EQ(r.GetCaptionAt(1), L"new");
    EXPECT_TRUE(r.InsertAt(-1, 20, KrTheme3DItem()) && r.InsertAt(99, 30, KrTheme3DItem()));
    EXPECT_EQ(Breaks(r), (std::vector<double>{5, 7, 10, 20, 30}));
    EXPECT_EQ(r.GetCount(), 6);
    EXPECT_EQ(ItemOf(r, 25), 4);

    KrTheme3DRange s;
    for (double v : {5.0, 10.0, 20.0}) s.Add(v, Captioned(L"x"));
    s.SetCaptionAt(2, L"10-20");
    s.SetCaptionAt(3, L"20+");
    EXPECT_EQ(s.RemoveAt(1, 1), 1);
    EXPECT_EQ(Breaks(s), (std::vector<double>{5, 20}));
    EXPECT_EQ(s.GetCount(), 3);
    EXPECT_EQ(s.GetCaptionAt(1), L"10-20");
    EXPECT_EQ(ItemOf(s, 7), 1);
    for (const auto& bad : std::vector<std::pair<int, int>>{{3, 1}, {-1, 1}, {0, 0}}) EXPECT_EQ(s.RemoveAt(bad.first, bad.second), 0);
    EXPECT_EQ(s.RemoveAt(0, 100), 2);
    EXPECT_EQ(s.GetCount() + s.GetValueCount(), 0);

    // A theme without breaks starts again with two ranges
    EXPECT_TRUE(s.InsertAt(3, 1, KrTheme3DItem()));
    EXPECT_EQ(s.GetCount(), 2);
    s.RemoveAll();
    EXPECT_THROW(s.GetValueAt(0), std::out_of_range);
}
