#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <functional>
#include <limits>
#include <tuple>
#include <vector>

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
    const double nan = std::nan("");
    struct Case {
        const char* what;
        int method, count;
        BsxArray<double> data, quantiles;
        std::vector<double> breaks;
        KrClass3DType type;
    };
    const Case cases[] = {
        {"equal intervals", 0, 4, Sequence(0, 100), {}, {25, 50, 75}, Class3DEqualDistance},
        {"unknown code", 17, 2, Array({-3, 1}), {}, {-1}, Class3DEqualDistance},
        {"equal intervals over one value", 0, 5, Array({7, 7}), {}, {7}, Class3DEqualDistance},
        {"square root", 1, 2, Sequence(0, 100), {}, {25}, Class3DExtraction},
        // 0..16 has roots 0..4, so four classes break at 1, 4 and 9
        {"square root of 0..16", 1, 4, Array({0, 3, 16}), {}, {1, 4, 9}, Class3DExtraction},
        // Below zero the scale mirrors: roots -4..4 in four classes
        {"square root across zero", 1, 4, Array({-16, 16}), {}, {-4, 0, 4}, Class3DExtraction},
        // A minimum counting as zero starts the logarithmic scale at 1
        {"log from zero", 3, 3, Sequence(0, 1000), {}, {10, 100}, Class3DLogarithm},
        {"log from nearly zero", 3, 3, Array({0.5e-10, 1000}), {}, {10, 100}, Class3DLogarithm},
        {"log 10..1e5", 3, 4, Array({10, 100000}), {}, {100, 1000, 10000}, Class3DLogarithm},
        {"log of zeros", 3, 4, Array({0, 0}), {}, {1}, Class3DLogarithm},
        {"log of negative data", 3, 4, Array({-100, 100}), {}, {}, Class3DLogarithm},
        // Quantiles come from the caller, in their order, repeats collapsing
        {"no quantiles", 4, 3, Sequence(0, 40), {}, {}, Class3DQuantile},
        {"quantiles", 4, 3, Sequence(0, 40), Array({10, 20, 20, 30, nan}), {10, 20, 30}, Class3DQuantile},
    };
    KrTheme3DRange r;
    for (const Case& c : cases) {
        ASSERT_TRUE(r.MakeDefault(c.method, c.count, c.data, c.quantiles, 0)) << c.what;
        ExpectBreaks(r, c.breaks, c.what);
        EXPECT_EQ(r.GetClassType(), c.type) << c.what;
    }
}

TEST(KrTheme3DRangeClassifyTest, OlderGenerationStartsAtTheLowestValue)
{
    const std::vector<std::tuple<const char*, std::function<void(Range&)>, std::vector<double>>> cases = {
        {"old equal", [](Range& r) { r.ClassifyWithEqualDistance(4, 100, 0); }, {0, 50, 100}},
        {"old equal, two classes", [](Range& r) { r.ClassifyWithEqualDistance(2, 100, 0); }, {0}},
        {"old equal, one class", [](Range& r) { r.ClassifyWithEqualDistance(1, 100, 0); }, {}},
        {"old square root", [](Range& r) { r.ClassifyWithExtraction(4, 16, 4); }, {4, 9, 16}},
        {"old log", [](Range& r) { r.ClassifyWithLogarithm(4, 1000, 10); }, {10, 100, 1000}},
        {"old log from zero", [](Range& r) { r.ClassifyWithLogarithm(4, 1000, 0); }, {1, std::pow(10.0, 1.5), 1000}},
        {"old fixed width", [](Range& r) { r.ClassifyWithCustomInterval(3, 10, 0); }, {0, 3, 6, 9, 12}},
        {"old fixed width landing on max", [](Range& r) { r.ClassifyWithCustomInterval(5, 10, 0); }, {0, 5, 10}},
        {"old fixed width over one value", [](Range& r) { r.ClassifyWithCustomInterval(3, 4, 4); }, {4}},
        {"old fixed width, negative", [](Range& r) { r.ClassifyWithCustomInterval(-3, 10, 0); }, {}},
    };
    for (const auto& c : cases) {
        Range r;
        std::get<1>(c)(r);
        ExpectBreaks(r, std::get<2>(c), std::get<0>(c));
    }
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

    // 1..5: one deviation of sqrt(2) around 3, halved. Mean 5, deviation 2: 4 and 6 around the
    // mean, then 8; 2 and 10 snap to min and max
    const std::vector<std::tuple<const char*, int, BsxArray<double>, std::vector<double>>> cases = {
        {"1..5", 5, Sequence(1, 5), {3 - std::sqrt(2.0) / 2, 3 + std::sqrt(2.0) / 2}},
        {"2..9", 3, Array({2, 4, 4, 4, 5, 5, 7, 9}), {4, 6, 8}},
        {"identical values", 3, Array({0.1, 0.1, 0.1, 0.1, 0.1, 0.1, 0.1}), {}}};
    for (const auto& c : cases) {
        ASSERT_TRUE(r.MakeDefault(2, std::get<1>(c), std::get<2>(c), BsxArray<double>(), 0));
        ExpectBreaks(r, std::get<3>(c), std::get<0>(c));
        EXPECT_EQ(r.GetClassType(), Class3DStdev);
    }
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
            ASSERT_TRUE(r.MakeDefault(method, 40000, data, Array({nan, HUGE_VAL, 2}), 1e-300));
            for (double b : Breaks(r)) EXPECT_TRUE(std::isfinite(b)) << method;
            EXPECT_LT(r.GetValueCount(), 40000);
        }
    }
    // The fixed-width limit does not hold counted classes; only the memory guard does, and
    // it says so in the log
    T3DTest::ClearLog();
    for (int method : {0, 1, 3}) {
        ASSERT_TRUE(r.MakeDefault(method, 40000, Array({1, 1e6}), BsxArray<double>(), 0));
        EXPECT_EQ(r.GetValueCount(), 39999) << method;
    }
    EXPECT_TRUE(T3DTest::LogIds().empty());
    ASSERT_TRUE(r.MakeDefault(0, INT_MAX, Array({0, 1e9}), BsxArray<double>(), 0));
    EXPECT_EQ(r.GetValueCount(), KrTheme3DRange::kMaxClassCount - 1);
    EXPECT_EQ(T3DTest::LogIds(), (std::vector<std::string>{"T3DRange001"}));
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
    EXPECT_EQ(KrTheme3DRange::QuantileBreaks(Sequence(1, 100000), INT_MAX).GetSize(), 99999);
}
