#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>

#include "RangeTestSupport.h"
#include "TestSupport.h"

using namespace BSX;
using namespace KRN;
using T3DTest::Array;
using T3DTest::Breaks;
using T3DTest::Range;
using T3DTest::Sequence;

namespace {

void ExpectBreaks(const KrTheme3DRange& r, const std::vector<double>& expected, const char* what)
{
    const std::vector<double> got = Breaks(r);
    ASSERT_EQ(got.size(), expected.size()) << what;
    for (size_t i = 0; i < got.size(); ++i) EXPECT_NEAR(got[i], expected[i], 1e-9) << what << " break " << i;
    EXPECT_EQ(r.GetCount(), got.empty() ? 0 : static_cast<int>(got.size()) + 1) << what;
}

std::vector<double> Classified(int method, int count, const BsxArray<double>& values, double interval = 0,
                               const BsxArray<double>& quantiles = BsxArray<double>())
{
    KrTheme3DRange r;
    EXPECT_TRUE(r.MakeDefault(method, count, values, quantiles, interval));
    return Breaks(r);
}

std::vector<double> Values(const BsxArray<double>& a) { return std::vector<double>(a.begin(), a.end()); }

} // namespace

TEST(KrTheme3DRangeClassifyTest, NewerGenerationCutsTheDataIntoCountClasses)
{
    KrTheme3DRange r;
    ASSERT_TRUE(r.MakeDefault(0, 4, Sequence(0, 100), BsxArray<double>(), 0));
    ExpectBreaks(r, {25, 50, 75}, "equal intervals");
    EXPECT_EQ(r.GetClassType(), Class3DEqualDistance);
    ASSERT_TRUE(r.MakeDefault(17, 2, Array({-3, 1}), BsxArray<double>(), 0));
    ExpectBreaks(r, {-1}, "unknown code");
    EXPECT_EQ(r.GetClassType(), Class3DEqualDistance);
    ASSERT_TRUE(r.MakeDefault(0, 5, Array({7, 7}), BsxArray<double>(), 0));
    ExpectBreaks(r, {7}, "equal intervals over one value");

    // Square roots: 0..16 has roots 0..4, so four classes break at 1, 4 and 9
    ASSERT_TRUE(r.MakeDefault(1, 2, Sequence(0, 100), BsxArray<double>(), 0));
    ExpectBreaks(r, {25}, "square root");
    EXPECT_EQ(r.GetClassType(), Class3DExtraction);
    ASSERT_TRUE(r.MakeDefault(1, 4, Array({0, 3, 16}), BsxArray<double>(), 0));
    ExpectBreaks(r, {1, 4, 9}, "square root of 0..16");
    // Below zero the scale mirrors: roots -4..4 in four classes
    ASSERT_TRUE(r.MakeDefault(1, 4, Array({-16, 16}), BsxArray<double>(), 0));
    ExpectBreaks(r, {-4, 0, 4}, "square root across zero");

    // Logarithms: a minimum counting as zero starts the scale at 1
    ASSERT_TRUE(r.MakeDefault(3, 3, Sequence(0, 1000), BsxArray<double>(), 0));
    ExpectBreaks(r, {10, 100}, "log from zero");
    EXPECT_EQ(r.GetClassType(), Class3DLogarithm);
    ASSERT_TRUE(r.MakeDefault(3, 3, Array({0.5e-10, 1000}), BsxArray<double>(), 0));
    ExpectBreaks(r, {10, 100}, "log from nearly zero");
    ASSERT_TRUE(r.MakeDefault(3, 4, Array({10, 100000}), BsxArray<double>(), 0));
    ExpectBreaks(r, {100, 1000, 10000}, "log 10..1e5");
    ASSERT_TRUE(r.MakeDefault(3, 4, Array({0, 0}), BsxArray<double>(), 0));
    ExpectBreaks(r, {1}, "log of zeros");
    ASSERT_TRUE(r.MakeDefault(3, 4, Array({-100, 100}), BsxArray<double>(), 0));
    ExpectBreaks(r, {}, "log of negative data");

    // Quantiles come from the caller, in their order, repeats collapsing
    ASSERT_TRUE(r.MakeDefault(4, 3, Sequence(0, 40), BsxArray<double>(), 0));
    ExpectBreaks(r, {}, "no quantiles");
    ASSERT_TRUE(r.MakeDefault(4, 3, Sequence(0, 40), Array({10, 20, 20, 30, std::nan("")}), 0));
    ExpectBreaks(r, {10, 20, 30}, "quantiles");
    EXPECT_EQ(r.GetClassType(), Class3DQuantile);
}

TEST(KrTheme3DRangeClassifyTest, OlderGenerationStartsAtTheLowestValue)
{
    Range r;
    r.ClassifyWithEqualDistance(4, 100, 0);
    ExpectBreaks(r, {0, 50, 100}, "old equal");
    r.RemoveAll();
    r.ClassifyWithEqualDistance(2, 100, 0);
    ExpectBreaks(r, {0}, "old equal, two classes");
    r.RemoveAll();
    r.ClassifyWithEqualDistance(1, 100, 0);
    ExpectBreaks(r, {}, "old equal, one class");

    r.RemoveAll();
    r.ClassifyWithExtraction(4, 16, 4);
    ExpectBreaks(r, {4, 9, 16}, "old square root");

    r.RemoveAll();
    r.ClassifyWithLogarithm(4, 1000, 10);
    ExpectBreaks(r, {10, 100, 1000}, "old log");
    r.RemoveAll();
    r.ClassifyWithLogarithm(4, 1000, 0);
    ExpectBreaks(r, {1, std::pow(10.0, 1.5), 1000}, "old log from zero");

    r.RemoveAll();
    r.ClassifyWithCustomInterval(3, 10, 0);
    ExpectBreaks(r, {0, 3, 6, 9, 12}, "old fixed width");
    r.RemoveAll();
    r.ClassifyWithCustomInterval(5, 10, 0);
    ExpectBreaks(r, {0, 5, 10}, "old fixed width landing on max");
    r.RemoveAll();
    r.ClassifyWithCustomInterval(3, 4, 4);
    ExpectBreaks(r, {4}, "old fixed width over one value");
    r.RemoveAll();
    r.ClassifyWithCustomInterval(-3, 10, 0);
    ExpectBreaks(r, {}, "old fixed width, negative");
}

TEST(KrTheme3DRangeClassifyTest, FixedWidthsAndTheirDegenerateCases)
{
    const BsxArray<double> data = Sequence(0, 10);
    EXPECT_EQ(Classified(5, 2, data, 3), (std::vector<double>{3, 6, 9}));
    EXPECT_EQ(Classified(5, 2, data, 4), (std::vector<double>{4, 8}));
    EXPECT_EQ(Classified(5, 2, data, 5), (std::vector<double>{5}));
    EXPECT_EQ(Classified(5, 2, data, 10), (std::vector<double>{}));
    EXPECT_EQ(Classified(5, 2, data, 11), (std::vector<double>{}));
    EXPECT_EQ(Classified(5, 2, data, 0), (std::vector<double>{0}));
    EXPECT_EQ(Classified(5, 2, data, 0.5e-10), (std::vector<double>{0}));
    EXPECT_EQ(Classified(5, 2, Array({0, 100000}), 1), (std::vector<double>{0}));
    EXPECT_EQ(Classified(5, 2, Array({0, 32767}), 1).size(), 32766u);
    EXPECT_EQ(Classified(5, 2, Array({4, 4}), 3), (std::vector<double>{4}));
    // Widths that would never reach max make no ranges
    EXPECT_EQ(Classified(5, 2, data, -3), (std::vector<double>{}));
    EXPECT_EQ(Classified(5, 2, data, std::nan("")), (std::vector<double>{}));
    EXPECT_EQ(Classified(5, 2, data, HUGE_VAL), (std::vector<double>{}));
    // Far below min's precision the walk is still held to the class limit
    const std::vector<double> big = Classified(5, 2, Array({1e20, 1e20 + 16384}), 16384 / 32767.0);
    EXPECT_LE(big.size(), 32768u);

    KrTheme3DRange r;
    r.MakeDefault(5, 2, data, BsxArray<double>(), 3);
    EXPECT_EQ(r.GetClassType(), Class3DCustomInterval);
}

TEST(KrTheme3DRangeClassifyTest, StandardDeviationSteps)
{
    Range r;
    double mean = 0, sigma = 0;
    r.Stdev(Array({2, 4, 4, 4, 5, 5, 7, 9}), mean, sigma);
    EXPECT_DOUBLE_EQ(mean, 5);
    EXPECT_DOUBLE_EQ(sigma, 2); // population deviation: divisor 8, not 7

    ASSERT_TRUE(r.MakeDefault(2, 5, Sequence(1, 5), BsxArray<double>(), 0));
    ExpectBreaks(r, {3 - std::sqrt(2.0) / 2, 3 + std::sqrt(2.0) / 2}, "1..5");
    EXPECT_EQ(r.GetClassType(), Class3DStdev);
    // Mean 5, deviation 2: 4 and 6 around the mean, then 8; 2 and 10 snap to min and max
    ASSERT_TRUE(r.MakeDefault(2, 3, Array({2, 4, 4, 4, 5, 5, 7, 9}), BsxArray<double>(), 0));
    ExpectBreaks(r, {4, 6, 8}, "2..9");
    ASSERT_TRUE(r.MakeDefault(2, 3, Array({0.1, 0.1, 0.1, 0.1, 0.1, 0.1, 0.1}), BsxArray<double>(), 0));
    ExpectBreaks(r, {}, "identical values");
    // One far value: the steps of one deviation reach it in a bounded number of classes
    BsxArray<double> skewed = Sequence(0, 999);
    skewed.Add(1e9);
    ASSERT_TRUE(r.MakeDefault(2, 3, skewed, BsxArray<double>(), 0));
    EXPECT_GT(r.GetValueCount(), 10);
    EXPECT_LT(r.GetValueCount(), 100);
    const std::vector<double> b = Breaks(r);
    for (size_t i = 1; i < b.size(); ++i) EXPECT_LT(b[i - 1], b[i]);
}

TEST(KrTheme3DRangeClassifyTest, BadInputGivesADefinedAnswer)
{
    KrTheme3DRange r;
    r.Add(1, KrTheme3DItem());
    r.SetExpression(L"F");
    EXPECT_FALSE(r.MakeDefault(0, 1, Sequence(0, 10), BsxArray<double>(), 0));
    EXPECT_FALSE(r.MakeDefault(0, -5, Sequence(0, 10), BsxArray<double>(), 0));
    EXPECT_FALSE(r.MakeDefault(0, 4, Array({3}), BsxArray<double>(), 0));
    EXPECT_EQ(Breaks(r), (std::vector<double>{1}));
    EXPECT_EQ(r.GetExpression(), L"F");

    const double nan = std::nan("");
    for (int method = 0; method <= 5; ++method) {
        for (const BsxArray<double>& data : {Array({nan, 5}), Array({0, HUGE_VAL}), Array({-HUGE_VAL, HUGE_VAL}),
                                             Array({-1e308, 1e308}), Array({1, nan, 3})}) {
            ASSERT_TRUE(r.MakeDefault(method, 1000000, data, Array({nan, HUGE_VAL, 2}), 1e-300));
            for (double b : Breaks(r)) EXPECT_TRUE(std::isfinite(b)) << method;
            EXPECT_LE(r.GetValueCount(), KrTheme3DRange::kMaxClasses);
        }
    }
    // Millions of classes are held to the class limit
    ASSERT_TRUE(r.MakeDefault(0, INT_MAX, Array({0, 1e6}), BsxArray<double>(), 0));
    EXPECT_EQ(r.GetValueCount(), KrTheme3DRange::kMaxClasses - 1);
}

TEST(KrTheme3DRangeClassifyTest, QuantileBreaksFollowThePositionRule)
{
    // Ten values in four classes: positions 2, 5 and 7 start classes 1 to 3
    EXPECT_EQ(Breaks([] {
                  KrTheme3DRange r;
                  r.MakeDefault(4, 4, Sequence(1, 10), KrTheme3DRange::QuantileBreaks(Sequence(1, 10), 4), 0);
                  return r;
              }()),
              (std::vector<double>{3, 6, 8}));
    const BsxArray<double> repeats = Array({1, 1, 1, 1, 1, 1, 2, 3});
    EXPECT_EQ(Values(KrTheme3DRange::QuantileBreaks(repeats, 4)), (std::vector<double>{1, 2}));
    EXPECT_EQ(Values(KrTheme3DRange::QuantileBreaks(Sequence(1, 3), 100)), (std::vector<double>{2, 3}));
    EXPECT_TRUE(KrTheme3DRange::QuantileBreaks(Sequence(1, 3), 1).IsEmpty());
    EXPECT_TRUE(KrTheme3DRange::QuantileBreaks(Array({5}), 4).IsEmpty());
    EXPECT_EQ(KrTheme3DRange::QuantileBreaks(Sequence(1, 100000), INT_MAX).GetSize(), KrTheme3DRange::kMaxClasses - 1);
}
