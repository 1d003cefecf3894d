// Range theme speed: lookups against the plain walk over the same breaks, every classification
// on a million sorted values against one pass over them, and documents of 10,000 ranges.
#include <benchmark/benchmark.h>

#include <vector>

#include "BsxArray.h"
#include "KrTheme3DItem.h"
#include "KrTheme3DRange.h"

using BSX::BsxArray;
using KRN::KrTheme3DItem;
using KRN::KrTheme3DRange;

namespace {

constexpr int kValues = 1000000;

const BsxArray<double>& Million()
{
    static const BsxArray<double> values = [] {
        BsxArray<double> v;
        v.Reserve(kValues);
        for (int i = 0; i < kValues; ++i) v.Add(i * 0.5);
        return v;
    }();
    return values;
}

KrTheme3DRange WithBreaks(int breaks)
{
    KrTheme3DRange r;
    for (int i = 0; i < breaks; ++i) r.Add(i * 10.0, KrTheme3DItem());
    return r;
}

// Probe values spread over all ranges, on and between breaks
std::vector<double> Probes(int breaks)
{
    std::vector<double> p;
    for (int i = 0; i < 1024; ++i) p.push_back((i * 7919 % (breaks + 1)) * 10.0 - (i % 3) * 5.0);
    return p;
}

void BM_LookupSearch(benchmark::State& state)
{
    const int breaks = static_cast<int>(state.range(0));
    const KrTheme3DRange r = WithBreaks(breaks);
    const std::vector<double> probes = Probes(breaks);
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(r.FindStyle(probes[i++ & 1023]));
    }
}
BENCHMARK(BM_LookupSearch)->Arg(5)->Arg(100)->Arg(32767);

// The walk from the first break, as the lookup would do without the order check
void BM_LookupWalk(benchmark::State& state)
{
    const int breaks = static_cast<int>(state.range(0));
    const KrTheme3DRange r = WithBreaks(breaks);
    std::vector<double> b;
    for (int k = 0; k < breaks; ++k) b.push_back(r.GetValueAt(k));
    std::vector<const KrTheme3DItem*> items;
    for (int k = 0; k < r.GetCount(); ++k) items.push_back(r.GetAt(k));
    const std::vector<double> probes = Probes(breaks);
    size_t i = 0;
    for (auto _ : state) {
        const double v = probes[i++ & 1023];
        size_t k = 0;
        while (k < b.size() && !(b[k] > v)) ++k;
        const KrTheme3DItem* item = items[k];
        benchmark::DoNotOptimize(item->Visible ? &item->Style : nullptr);
    }
}
BENCHMARK(BM_LookupWalk)->Arg(5)->Arg(100)->Arg(32767);

// Reference for the classifications: one pass over the million values
void BM_OnePass(benchmark::State& state)
{
    const BsxArray<double>& values = Million();
    for (auto _ : state) {
        double sum = 0;
        for (double v : values) sum += v;
        benchmark::DoNotOptimize(sum);
    }
}
BENCHMARK(BM_OnePass)->Unit(benchmark::kMillisecond);

void BM_MakeDefault(benchmark::State& state)
{
    const int method = static_cast<int>(state.range(0));
    const BsxArray<double>& values = Million();
    const double range = values[kValues - 1] - values[0];
    // The width that gives the largest number of classes
    const double interval = range / KrTheme3DRange::kMaxClasses * (1 + 1e-12);
    const BsxArray<double> quantiles = KrTheme3DRange::QuantileBreaks(values, 10);
    KrTheme3DRange r;
    for (auto _ : state) {
        r.MakeDefault(method, 10, values, quantiles, interval);
        benchmark::DoNotOptimize(r.GetCount());
    }
    state.counters["breaks"] = r.GetValueCount();
}
BENCHMARK(BM_MakeDefault)->DenseRange(0, 5)->Unit(benchmark::kMillisecond);

void BM_QuantileBreaks(benchmark::State& state)
{
    const BsxArray<double>& values = Million();
    for (auto _ : state) benchmark::DoNotOptimize(KrTheme3DRange::QuantileBreaks(values, 10));
}
BENCHMARK(BM_QuantileBreaks)->Unit(benchmark::kMillisecond);

// What 32,766 breaks would cost with a scan of every break per added break
void BM_ScanPerBreak(benchmark::State& state)
{
    const int n = KrTheme3DRange::kMaxClasses - 1;
    for (auto _ : state) {
        std::vector<double> b;
        for (int i = 1; i <= n; ++i) {
            const double v = i * 15.25;
            bool found = false;
            for (double x : b)
                if (x - v > -1e-10 && x - v < 1e-10) found = true;
            if (!found) b.push_back(v);
        }
        benchmark::DoNotOptimize(b.data());
    }
}
BENCHMARK(BM_ScanPerBreak)->Unit(benchmark::kMillisecond);

KrTheme3DRange TenThousand()
{
    KrTheme3DRange r;
    for (int i = 0; i < 9999; ++i) r.Add(i * 1.25, KrTheme3DItem());
    for (int i = 0; i < r.GetCount(); ++i) r.SetCaptionAt(i, L"range");
    return r;
}

void BM_ToXML(benchmark::State& state)
{
    const KrTheme3DRange r = TenThousand();
    for (auto _ : state) benchmark::DoNotOptimize(r.ToXML(0, L"/d"));
}
BENCHMARK(BM_ToXML)->Unit(benchmark::kMillisecond);

void BM_FromXML(benchmark::State& state)
{
    const BSX::BsxUnicodeString xml = TenThousand().ToXML(0, L"/d");
    KrTheme3DRange r;
    for (auto _ : state) {
        r.FromXML(xml, 0, L"/d");
        benchmark::DoNotOptimize(r.GetCount());
    }
    state.counters["ranges"] = r.GetCount();
}
BENCHMARK(BM_FromXML)->Unit(benchmark::kMillisecond);

} // namespace
