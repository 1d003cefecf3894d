#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <tuple>
#include <vector>

#include "BsxArray.h"
#include "KrClassStatistics.h"
#include "KrClassifier.h"
#include "KrQuantileSketch.h"
#include "KrTheme3DRange.h"
#include "../Range/RangeTestSupport.h"

using namespace KRN;
using T3DTest::Breaks;

namespace {

// Cuts values into a random number of parts at random places, in a shuffled order
std::vector<std::vector<double>> Split(const std::vector<double>& values, std::mt19937& rng)
{
    std::vector<std::vector<double>> parts(1 + rng() % 9);
    for (double x : values) parts[rng() % parts.size()].push_back(x);
    std::shuffle(parts.begin(), parts.end(), rng);
    return parts;
}

} // namespace

TEST(KrMergeableStatisticsTest, PartsMergedInAnyOrderClassifyAsTheWhole)
{
    std::mt19937 rng(5);
    for (int trial = 0; trial < 50; ++trial) {
        std::vector<double> values(2 + rng() % 2000);
        for (double& x : values) x = 1e6 + std::lognormal_distribution<double>(3, 1.5)(rng);
        values[rng() % values.size()] = NAN;
        KrClassStatistics whole;
        for (double x : values) whole.Add(x);
        KrClassStatistics merged;
        for (const auto& part : Split(values, rng)) {
            KrClassStatistics s;
            for (double x : part) s.Add(x);
            // Every part travels as bytes
            KrClassStatistics moved;
            ASSERT_TRUE(moved.FromBytes(s.ToBytes()));
            merged.Merge(moved);
        }
        EXPECT_EQ(merged.GetCount(), whole.GetCount());
        EXPECT_EQ(merged.GetNoDataCount(), 1);
        EXPECT_EQ(merged.GetMin(), whole.GetMin());
        EXPECT_EQ(merged.GetMax(), whole.GetMax());
        EXPECT_NEAR(merged.GetMean(), whole.GetMean(), 1e-12 * whole.GetMean());
        EXPECT_NEAR(merged.GetVariance(), whole.GetVariance(), 1e-9 * whole.GetVariance());

        std::vector<double> sorted;
        for (double x : values)
            if (std::isfinite(x)) sorted.push_back(x);
        std::sort(sorted.begin(), sorted.end());
        BSX::BsxArray<double> data;
        for (double x : sorted) data.Add(x);
        for (int method : {0, 1, 2, 3, 5}) {
            KrTheme3DRange a, b;
            ASSERT_EQ(a.MakeDefault(method, 5, data, {}, 7.5), b.MakeDefault(method, 5, merged, {}, 7.5));
            const std::vector<double> ba = Breaks(a), bb = Breaks(b);
            ASSERT_EQ(ba.size(), bb.size()) << method;
            for (size_t i = 0; i < ba.size(); ++i) EXPECT_NEAR(ba[i], bb[i], 1e-9 * std::fabs(ba[i])) << method;
            EXPECT_EQ(a.GetClassType(), b.GetClassType());
        }
    }
    // Parts of one value, of none, and of no data only merge as well
    KrClassStatistics one, none, noData, some;
    one.Add(4);
    noData.AddNoData();
    some.Add(9);
    for (const KrClassStatistics* part : {&none, &one, &noData, &none}) some.Merge(*part);
    EXPECT_EQ(std::make_tuple(some.GetCount(), some.GetNoDataCount(), some.GetMin(), some.GetMean()), std::make_tuple(std::int64_t(2), std::int64_t(1), 4.0, 6.5));

    KrClassStatistics s;
    s.Add(3);
    const std::string bytes = s.ToBytes();
    for (const std::string& bad : {std::string(), bytes.substr(0, bytes.size() - 1), bytes + "x", std::string(56, '\xff')})
        EXPECT_FALSE(s.FromBytes(bad));
    EXPECT_EQ(s.GetCount(), 1);
}

TEST(KrMergeableStatisticsTest, SketchRanksStayWithinTheStatedError)
{
    std::mt19937 rng(9);
    double worst = 0;
    for (int trial = 0; trial < 6; ++trial) {
        std::vector<double> values(200000);
        for (double& x : values) x = trial % 2 ? std::exponential_distribution<double>(1)(rng) : double(rng() % 1000);
        KrQuantileSketch merged;
        for (const auto& part : Split(values, rng)) {
            KrQuantileSketch s(KrQuantileSketch::kDefaultK, rng() | 1);
            for (double x : part) s.Add(x);
            s.AddNoData(2);
            KrQuantileSketch moved;
            ASSERT_TRUE(moved.FromBytes(s.ToBytes()));
            merged.Merge(moved);
        }
        ASSERT_EQ(merged.GetCount(), static_cast<std::int64_t>(values.size()));
        std::sort(values.begin(), values.end());
        EXPECT_EQ(merged.GetMin(), values.front());
        EXPECT_EQ(merged.GetMax(), values.back());
        const double n = static_cast<double>(values.size());
        for (int q = 1; q < 100; ++q) {
            const double v = merged.GetQuantile(q / 100.0);
            // The true rank range of the answered value must meet the asked rank within the error
            const double below = std::lower_bound(values.begin(), values.end(), v) - values.begin();
            const double upTo = std::upper_bound(values.begin(), values.end(), v) - values.begin();
            const double miss = std::max({0.0, below - q * n / 100, q * n / 100 - upTo}) / n;
            worst = std::max(worst, miss);
            const double exact = below / n, estimate = merged.GetRank(v) / n;
            worst = std::max(worst, std::fabs(exact - estimate));
        }
        // Natural breaks on the weighted values fit the whole data almost as well as the exact ones
        const double exact = KrClassifier(values).Natural(5).gvf;
        const KrClassification sketched = KrClassifier(merged).Natural(5);
        EXPECT_TRUE(sketched.approximate);
        EXPECT_GT(KrClassifier(values).Describe(KrClassMethod::Natural, sketched.breaks).gvf, exact - 0.01);
    }
    std::printf("sketch: largest rank error %.5f (stated %.3f)\n", worst, KrQuantileSketch::kRankError);
    EXPECT_LE(worst, KrQuantileSketch::kRankError);

    // Nothing to answer from: no value, or no rank asked
    KrQuantileSketch s;
    EXPECT_TRUE(std::isnan(s.GetQuantile(0.5)));
    s.Add(1);
    EXPECT_TRUE(std::isnan(s.GetQuantile(NAN)));
    std::string bytes = s.ToBytes();
    EXPECT_FALSE(s.FromBytes(bytes.substr(0, bytes.size() - 8)));
    bytes[bytes.size() - 1] = '\x7f'; // the retained value no longer lies within the extremes
    EXPECT_FALSE(s.FromBytes(bytes));
    EXPECT_EQ(s.GetCount(), 1);
}
