// Classification speed: natural breaks against the textbook O(k n^2) dynamic programme at equal
// n, every method at 10^4, 10^6 and 10^7 values, and the quantile sketch over 10^8 streamed
// values in ten parts (memory, merge time, rank error against the exact ranks).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <vector>

#include "KrClassifier.h"
#include "KrQuantileSketch.h"

using KRN::KrClassifier;
using KRN::KrQuantileSketch;

namespace {

constexpr int kClasses = 7;

// Skewed data as fields of maps are: log-normal, with repeated values from rounding
const std::vector<double>& Data(std::size_t n)
{
    static std::map<std::size_t, std::vector<double>> cache;
    std::vector<double>& v = cache[n];
    if (v.empty()) {
        std::mt19937_64 rng(n);
        std::lognormal_distribution<double> d(10, 1.5);
        v.resize(n);
        for (double& x : v) x = std::round(d(rng) * 100) / 100;
    }
    return v;
}

const KrClassifier& Prepared(std::size_t n)
{
    static std::map<std::size_t, KrClassifier> cache;
    auto it = cache.find(n);
    if (it == cache.end()) it = cache.emplace(n, KrClassifier(Data(n))).first;
    return it->second;
}

// The textbook dynamic programme: every class end against every class start, O(k n^2)
std::vector<double> TextbookNatural(const std::vector<double>& sorted, int k)
{
    const std::size_t n = sorted.size();
    std::vector<double> s(n + 1), q(n + 1);
    const double centre = sorted[n / 2];
    for (std::size_t i = 0; i < n; ++i) {
        s[i + 1] = s[i] + (sorted[i] - centre);
        q[i + 1] = q[i] + (sorted[i] - centre) * (sorted[i] - centre);
    }
    auto cost = [&](std::size_t i, std::size_t j) {
        const double sum = s[j] - s[i];
        return q[j] - q[i] - sum * sum / static_cast<double>(j - i);
    };
    std::vector<double> prev(n + 1), cur(n + 1);
    std::vector<std::vector<std::size_t>> arg(k, std::vector<std::size_t>(n + 1));
    for (std::size_t j = 1; j <= n; ++j) prev[j] = cost(0, j);
    for (int m = 1; m < k; ++m) {
        for (std::size_t j = m + 1; j <= n; ++j) {
            double best = std::numeric_limits<double>::infinity();
            for (std::size_t i = m; i < j; ++i) {
                const double c = prev[i] + cost(i, j);
                if (c < best) {
                    best = c;
                    arg[m][j] = i;
                }
            }
            cur[j] = best;
        }
        std::swap(prev, cur);
    }
    std::vector<double> breaks(k - 1);
    std::size_t j = n;
    for (int m = k - 1; m >= 1; --m) breaks[m - 1] = sorted[j = arg[m][j]];
    return breaks;
}

void BM_NaturalTextbook(benchmark::State& state)
{
    std::vector<double> sorted = Data(state.range(0));
    std::sort(sorted.begin(), sorted.end());
    for (auto _ : state) benchmark::DoNotOptimize(TextbookNatural(sorted, kClasses));
}
BENCHMARK(BM_NaturalTextbook)->Arg(10000)->Unit(benchmark::kMillisecond);

// Natural breaks from the raw values: sorting and the dynamic programme
void BM_NaturalFromValues(benchmark::State& state)
{
    const std::vector<double>& v = Data(state.range(0));
    for (auto _ : state) benchmark::DoNotOptimize(KrClassifier(v).Natural(kClasses));
    state.counters["distinct"] = static_cast<double>(KrClassifier(v).GetValues().size());
}
BENCHMARK(BM_NaturalFromValues)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_NaturalFromValues)->Arg(10000000)->Iterations(1)->Unit(benchmark::kMillisecond);

// Leaving out no data and sorting, which every method shares
void BM_Prepare(benchmark::State& state)
{
    const std::vector<double>& v = Data(state.range(0));
    for (auto _ : state) benchmark::DoNotOptimize(KrClassifier(v).GetCount());
}

template <KRN::KrClassMethod M>
void BM_Method(benchmark::State& state)
{
    const KrClassifier& c = Prepared(state.range(0));
    for (auto _ : state) {
        switch (M) {
        case KRN::KrClassMethod::Natural: benchmark::DoNotOptimize(c.Natural(kClasses)); break;
        case KRN::KrClassMethod::Pretty: benchmark::DoNotOptimize(c.Pretty(kClasses)); break;
        case KRN::KrClassMethod::Geometric: benchmark::DoNotOptimize(c.Geometric(kClasses)); break;
        case KRN::KrClassMethod::HeadTail: benchmark::DoNotOptimize(c.HeadTail(kClasses)); break;
        default: benchmark::DoNotOptimize(c.Quantile(kClasses)); break;
        }
    }
}

// Every method at 10^4 and 10^6 values, and once at 10^7
const int kRegistered = [] {
    const std::pair<const char*, void (*)(benchmark::State&)> methods[] = {
        {"BM_Prepare", BM_Prepare},
        {"BM_Natural", BM_Method<KRN::KrClassMethod::Natural>},
        {"BM_Pretty", BM_Method<KRN::KrClassMethod::Pretty>},
        {"BM_Geometric", BM_Method<KRN::KrClassMethod::Geometric>},
        {"BM_HeadTail", BM_Method<KRN::KrClassMethod::HeadTail>},
        {"BM_Quantile", BM_Method<KRN::KrClassMethod::Quantile>},
    };
    for (const auto& m : methods) {
        benchmark::RegisterBenchmark(m.first, m.second)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(m.first, m.second)->Arg(10000000)->Iterations(1)->Unit(benchmark::kMillisecond);
    }
    return 0;
}();

// 10^8 values streamed into ten sketches (never held), each sent as bytes and merged. The values
// are a permutation of 0 .. 10^8-1, so the exact rank of a value is the value itself.
void BM_SketchStream(benchmark::State& state)
{
    const std::int64_t n = state.range(0);
    const int parts = 10;
    for (auto _ : state) {
        std::vector<std::string> sent;
        std::size_t partBytes = 0;
        for (int p = 0; p < parts; ++p) {
            KrQuantileSketch s(KrQuantileSketch::kDefaultK, 1 + p);
            for (std::int64_t i = p; i < n; i += parts) s.Add(static_cast<double>((i * 48271) % n));
            partBytes = std::max(partBytes, s.GetMemoryBytes());
            sent.push_back(s.ToBytes());
        }
        const auto start = std::chrono::steady_clock::now();
        KrQuantileSketch merged;
        for (const std::string& bytes : sent) {
            KrQuantileSketch s;
            s.FromBytes(bytes);
            merged.Merge(s);
        }
        const double mergeSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        double worst = 0.0;
        for (int q = 1; q < 1000; ++q) {
            const double v = merged.GetQuantile(q / 1000.0);
            worst = std::max(worst, std::fabs(v - q / 1000.0 * static_cast<double>(n)) / static_cast<double>(n));
            worst = std::max(worst, std::fabs(merged.GetRank(v) - v) / static_cast<double>(n));
        }
        state.counters["part_bytes"] = static_cast<double>(partBytes);
        state.counters["merged_bytes"] = static_cast<double>(merged.GetMemoryBytes());
        state.counters["retained"] = static_cast<double>(merged.GetRetained());
        state.counters["wire_bytes"] = static_cast<double>(sent.front().size());
        state.counters["merge_ms"] = mergeSeconds * 1e3;
        state.counters["rank_err"] = worst;
        state.counters["natural_ms"] = [&] {
            const auto t = std::chrono::steady_clock::now();
            benchmark::DoNotOptimize(KrClassifier(merged).Natural(kClasses));
            return std::chrono::duration<double>(std::chrono::steady_clock::now() - t).count() * 1e3;
        }();
    }
}
BENCHMARK(BM_SketchStream)->Arg(100000000)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
