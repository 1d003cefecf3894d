#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "BsxTime.h"
#include "KrClassifier.h"

using namespace KRN;

namespace {

// Within-class squared deviations of the values under the breaks (value >= break: upper class)
double WithinSquares(const std::vector<double>& values, const std::vector<double>& breaks)
{
    std::vector<double> sum(breaks.size() + 1), weight(breaks.size() + 1), squares(breaks.size() + 1);
    for (double x : values) {
        const size_t c = std::upper_bound(breaks.begin(), breaks.end(), x) - breaks.begin();
        sum[c] += x;
        squares[c] += x * x;
        weight[c] += 1;
    }
    double total = 0;
    for (size_t c = 0; c < sum.size(); ++c)
        if (weight[c] > 0) total += squares[c] - sum[c] * sum[c] / weight[c];
    return total;
}

// Least within-class squares over every way to cut the distinct sorted values into k runs
double BruteForce(const std::vector<double>& distinct, const std::vector<double>& values, size_t k,
                  std::vector<double>& breaks, size_t from = 1)
{
    if (breaks.size() + 1 == k) return WithinSquares(values, breaks);
    double best = INFINITY;
    for (size_t i = from; i + (k - 1 - breaks.size()) <= distinct.size(); ++i) {
        breaks.push_back(distinct[i]);
        best = std::min(best, BruteForce(distinct, values, k, breaks, i + 1));
        breaks.pop_back();
    }
    return best;
}

} // namespace

TEST(KrClassifierTest, NaturalBreaksMatchEveryPartitionOfSmallSets)
{
    std::mt19937 rng(20240611);
    int agree = 0;
    const int sets = 4000;
    for (int set = 0; set < sets; ++set) {
        const size_t n = 1 + rng() % 11;
        std::vector<double> values(n);
        // Half the sets draw from few integers, so that repeated values are common
        for (double& x : values) x = set % 2 ? double(rng() % 8) : std::ldexp(double(rng() % 100000), -7) - 300;
        const int k = 2 + static_cast<int>(rng() % 4);
        const KrClassification r = KrClassifier(values).Natural(k);
        std::vector<double> distinct = values;
        std::sort(distinct.begin(), distinct.end());
        distinct.erase(std::unique(distinct.begin(), distinct.end()), distinct.end());
        std::vector<double> scratch;
        const size_t classes = std::min<size_t>(k, distinct.size());
        const double best = BruteForce(distinct, values, classes, scratch);
        ASSERT_EQ(r.breaks.size() + 1, classes) << set;
        const double got = WithinSquares(values, r.breaks);
        if (std::fabs(got - best) <= 1e-9 * (1 + best)) ++agree;
        else ADD_FAILURE() << "set " << set << ": " << got << " against " << best;
    }
    std::printf("natural breaks agree with brute force on %d of %d sets\n", agree, sets);
}

TEST(KrClassifierTest, WorkedExamplesAndDegenerateData)
{
    const KrClassification r = KrClassifier({31, 2, 10, 1, 30, 11, 3, 12}).Natural(3);
    EXPECT_EQ(r.breaks, (std::vector<double>{10, 30}));
    ASSERT_EQ(r.classes.size(), 3u);
    EXPECT_EQ(r.classes[1].count, 3);
    EXPECT_EQ(r.classes[1].min, 10);
    EXPECT_EQ(r.classes[1].max, 12);
    EXPECT_DOUBLE_EQ(r.classes[2].mean, 30.5);
    // Within: 2 + 2 + 0.5; around the mean 12.5: 2240 - 8 * 12.5^2 = 990
    EXPECT_NEAR(r.gvf, 1 - 4.5 / 990, 1e-12);

    using Method = KrClassification (KrClassifier::*)(int) const;
    for (Method method : {&KrClassifier::Natural, &KrClassifier::Pretty, &KrClassifier::Geometric,
                          &KrClassifier::HeadTail, &KrClassifier::Quantile}) {
        auto run = [method](const KrClassifier& c) { return (c.*method)(4); };
        std::mt19937 rng(7);
        std::vector<double> data(300);
        for (double& x : data) x = std::exp(std::uniform_real_distribution<double>(0, 6)(rng));
        std::fill(data.begin() + 10, data.begin() + 20, data[3]);
        std::vector<double> noisy = data;
        noisy.insert(noisy.end(), {NAN, INFINITY, -INFINITY});
        std::shuffle(noisy.begin(), noisy.end(), rng);
        const KrClassification a = run(KrClassifier(data)), b = run(KrClassifier(noisy, 2));
        const char* name = KrClassifier::MethodName(a.method);
        EXPECT_EQ(b.noData, 5) << name;
        EXPECT_EQ(b.count, 300) << name;
        EXPECT_EQ(a.breaks, b.breaks) << name;
        EXPECT_FALSE(a.breaks.empty()) << name;
        EXPECT_TRUE(std::is_sorted(a.breaks.begin(), a.breaks.end())) << name;
        EXPECT_GT(a.gvf, 0.5) << name;
        // One value, or nothing but no data: one class without breaks; two values: one break
        const KrClassification one = run(KrClassifier({5, 5, NAN}));
        EXPECT_TRUE(one.breaks.empty()) << name;
        EXPECT_EQ(one.classes.size(), 1u);
        EXPECT_EQ(one.gvf, 1.0) << name;
        EXPECT_TRUE(std::isnan(run(KrClassifier({NAN})).gvf)) << name;
        const KrClassification two = run(KrClassifier({1, 9}));
        ASSERT_EQ(two.classes.size(), two.breaks.size() + 1) << name;
        EXPECT_EQ(two.classes.front().count + two.classes.back().count, 2) << name;
    }
}

TEST(KrClassifierTest, PrettyGeometricAndHeadTailShapes)
{
    EXPECT_EQ(KrClassifier({0.13, 3, 9.7}).Pretty(5).breaks, (std::vector<double>{2, 4, 6, 8}));
    EXPECT_EQ(KrClassifier({0.013, 0.097}).Pretty(4).breaks, (std::vector<double>{0.02, 0.04, 0.06, 0.08}));
    std::mt19937 rng(11);
    for (int i = 0; i < 200; ++i) {
        const double lo = std::ldexp(double(rng() % 1000) - 500, int(rng() % 20) - 10);
        const double hi = lo + std::ldexp(1 + double(rng() % 1000), int(rng() % 20) - 10);
        const int k = 2 + int(rng() % 9);
        const KrClassification p = KrClassifier({lo, hi}).Pretty(k);
        // About the asked number of classes, every break a multiple of one round step
        EXPECT_LE(std::fabs(double(p.breaks.size() + 1) - k), k / 2.0 + 1) << lo << " " << hi << " " << k;
        if (p.breaks.size() >= 2) {
            const double step = p.breaks[1] - p.breaks[0];
            const double mantissa = step / std::pow(10, std::floor(std::log10(step) + 1e-9));
            EXPECT_TRUE(std::fabs(mantissa - 1) < 1e-6 || std::fabs(mantissa - 2) < 1e-6 || std::fabs(mantissa - 5) < 1e-6)
                << step;
        }
    }

    // Skewed data: the widths grow, by one ratio, and the classes hold similar counts
    std::vector<double> skewed(1000);
    for (double& x : skewed) x = std::exp(std::uniform_real_distribution<double>(0, 8)(rng));
    const KrClassification g = KrClassifier(skewed).Geometric(5);
    ASSERT_EQ(g.breaks.size(), 4u);
    std::vector<double> edges = {*std::min_element(skewed.begin(), skewed.end())};
    edges.insert(edges.end(), g.breaks.begin(), g.breaks.end());
    edges.push_back(*std::max_element(skewed.begin(), skewed.end()));
    const double ratio = (edges[2] - edges[1]) / (edges[1] - edges[0]);
    EXPECT_GT(ratio, 2);
    for (size_t i = 2; i + 1 < edges.size(); ++i) EXPECT_NEAR((edges[i + 1] - edges[i]) / (edges[i] - edges[i - 1]), ratio, 1e-6 * ratio);
    for (const KrClassSummary& c : g.classes) EXPECT_GT(c.count, 100);

    // Head/tail: a Pareto tail yields several classes, each break the mean of the head above the
    // last; the count caps them; uniform data stops after the first split
    std::vector<double> pareto(20000);
    for (double& x : pareto) x = std::pow(1 - std::uniform_real_distribution<double>(0, 1)(rng), -1 / 1.2);
    const KrClassification h = KrClassifier(pareto).HeadTail(20);
    EXPECT_GE(h.breaks.size(), 4u);
    for (size_t j = 0; j < h.breaks.size(); ++j) {
        double sum = 0, part = 0, head = 0;
        for (double x : pareto) {
            if (j > 0 && x < h.breaks[j - 1]) continue;
            sum += x;
            part += 1;
            head += x >= h.breaks[j];
        }
        EXPECT_NEAR(h.breaks[j], sum / part, 1e-9 * h.breaks[j]) << j;
        if (j > 0) {
            EXPECT_LE(head, 0.4 * part) << j;
        }
    }
    EXPECT_EQ(KrClassifier(pareto).HeadTail(3).breaks.size(), 2u);
    std::vector<double> uniform(1000);
    for (size_t i = 0; i < uniform.size(); ++i) uniform[i] = double(i);
    EXPECT_EQ(KrClassifier(uniform).HeadTail(10).breaks, (std::vector<double>{499.5}));
}

TEST(KrClassifierTest, DatesBreakOnCalendarBoundaries)
{
    using BSX::BsxTime;
    const std::vector<double> years = {BsxTime(2019, 6, 15).GetValue(), BsxTime(2020, 8, 1, 12).GetValue(),
                                       BsxTime(2022, 3, 1).GetValue()};
    const KrClassification y = KrClassifier(years).Calendar(4);
    EXPECT_EQ(y.unit, KrCalendarUnit::Year);
    EXPECT_EQ(y.breaks, (std::vector<double>{BsxTime(2020, 1, 1).GetValue(), BsxTime(2021, 1, 1).GetValue(),
                                             BsxTime(2022, 1, 1).GetValue()}));
    EXPECT_EQ(KrClassifier::FormatDate(y.breaks[1], y.unit), "2021");

    const KrClassification m = KrClassifier({BsxTime(2021, 1, 20).GetValue(), BsxTime(2021, 12, 5).GetValue()}).Calendar(4);
    EXPECT_EQ(m.unit, KrCalendarUnit::Month);
    EXPECT_EQ(m.step, 3);
    ASSERT_EQ(m.breaks.size(), 3u);
    EXPECT_EQ(KrClassifier::FormatDate(m.breaks[0], m.unit), "2021-04");

    const KrClassification h = KrClassifier({BsxTime(2021, 5, 4, 1).GetValue(), BsxTime(2021, 5, 4, 23).GetValue(), NAN}).Calendar(4);
    EXPECT_EQ(h.unit, KrCalendarUnit::Hour);
    EXPECT_EQ(h.noData, 1);
    std::vector<std::string> captions;
    for (double b : h.breaks) captions.push_back(KrClassifier::FormatDate(b, h.unit));
    EXPECT_EQ(captions, (std::vector<std::string>{"2021-05-04 06:00", "2021-05-04 12:00", "2021-05-04 18:00"}));
}
