// Lookups of the unique theme against the plain walk over the display order, and its document
// against a plain pugixml parse of the same text.
#include <benchmark/benchmark.h>

#include <pugixml.hpp>

#include <ctime>
#include <vector>

#include "BsxVariant.h"
#include "KrTheme3DUnique.h"

using namespace BSX;
using namespace KRN;

namespace {

// Opens the display order for the reference walks
class OpenUnique : public KrTheme3DUnique {
public:
    using KrTheme3DUnique::Values;
};

// Keys are the text form of reals, so that real lookups hit them
double KeyNumber(int i) { return i * 1.25 + 0.5; }

OpenUnique& Theme(int count)
{
    static std::vector<std::pair<int, OpenUnique*>> built;
    for (auto& b : built)
        if (b.first == count) return *b.second;
    auto* t = new OpenUnique;
    t->SetExpression(L"VALUE");
    for (int i = 0; i < count; ++i) {
        KrTheme3DItem item;
        item.Caption = BsxVariant(i).ToString();
        item.Style.SetLineWidth(1 + i % 5);
        if (i % 7 == 0) item.Style.SetIconName(L"/data/icons/pin.png");
        t->Add(BsxVariant(KeyNumber(i)).ToString(), item);
    }
    built.emplace_back(count, t);
    return *t;
}

// Probes spread over the whole display order, one in eight a miss
std::vector<double> Probes(int count)
{
    std::vector<double> probes;
    for (int k = 0; k < 64; ++k) {
        const int i = static_cast<int>((static_cast<long long>(k) * 7919) % count);
        probes.push_back(k % 8 == 7 ? KeyNumber(i) + 0.3 : KeyNumber(i));
    }
    return probes;
}

const KrStyle* WalkNumeric(const OpenUnique& t, double d)
{
    for (int i = 0; i < t.Values.GetCount(); ++i) {
        const double e = t.Values[i].ToDouble() - d;
        if (-1e-10 < e && e < 1e-10) {
            const KrTheme3DItem* item = t.Find(t.Values[i]);
            if (item) return item->Visible ? &item->Style : &t.GetDefaultStyle();
        }
    }
    return &t.GetDefaultStyle();
}

const KrStyle* WalkText(const OpenUnique& t, const BsxUnicodeString& key)
{
    for (int i = 0; i < t.Values.GetCount(); ++i)
        if (t.Values[i] == key) {
            const KrTheme3DItem* item = t.Find(t.Values[i]);
            return item->Visible ? &item->Style : nullptr;
        }
    return &t.GetDefaultStyle();
}

void BM_NumericLookup(benchmark::State& state)
{
    const OpenUnique& t = Theme(static_cast<int>(state.range(0)));
    std::vector<BsxVariant> probes;
    for (double d : Probes(t.GetCount())) probes.emplace_back(d);
    size_t k = 0;
    for (auto _ : state) benchmark::DoNotOptimize(t.FindStyle(probes[k++ % probes.size()]));
}

void BM_NumericWalk(benchmark::State& state)
{
    const OpenUnique& t = Theme(static_cast<int>(state.range(0)));
    std::vector<BsxVariant> probes;
    for (double d : Probes(t.GetCount())) probes.emplace_back(d);
    size_t k = 0;
    for (auto _ : state) {
        const BsxVariant& v = probes[k++ % probes.size()];
        benchmark::DoNotOptimize(WalkNumeric(t, v.ToString().ToDouble()));
    }
}

std::vector<BsxVariant> TextProbes(int count)
{
    std::vector<BsxVariant> probes;
    for (double d : Probes(count)) probes.emplace_back(BsxVariant(d).ToString());
    return probes;
}

void BM_TextLookup(benchmark::State& state)
{
    const OpenUnique& t = Theme(static_cast<int>(state.range(0)));
    const std::vector<BsxVariant> probes = TextProbes(t.GetCount());
    size_t k = 0;
    for (auto _ : state) benchmark::DoNotOptimize(t.FindStyle(probes[k++ % probes.size()]));
}

void BM_TextWalk(benchmark::State& state)
{
    const OpenUnique& t = Theme(static_cast<int>(state.range(0)));
    const std::vector<BsxVariant> probes = TextProbes(t.GetCount());
    size_t k = 0;
    for (auto _ : state) benchmark::DoNotOptimize(WalkText(t, KrTheme3D::Variant2String(probes[k++ % probes.size()])));
}

void BM_ToXML(benchmark::State& state)
{
    const OpenUnique& t = Theme(static_cast<int>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(t.ToXML(0, L"/data"));
}

void BM_FromXML(benchmark::State& state)
{
    const BsxUnicodeString xml = Theme(static_cast<int>(state.range(0))).ToXML(0, L"/data");
    for (auto _ : state) {
        KrTheme3DUnique t;
        benchmark::DoNotOptimize(t.FromXML(xml, 0, L"/data"));
    }
}

// Reference: parsing the same document, and nothing else
void BM_PugixmlParse(benchmark::State& state)
{
    const BsxUnicodeString xml = Theme(static_cast<int>(state.range(0))).ToXML(0, L"/data");
    for (auto _ : state) {
        pugi::xml_document doc;
        benchmark::DoNotOptimize(doc.load_buffer(xml.Cstr(), xml.GetLength() * sizeof(wchar_t), pugi::parse_default,
                                                 pugi::encoding_wchar));
    }
}

// Thread CPU time and wall time of f, in seconds
struct Times {
    double cpu = 0, wall = 0;
};
template <class F>
void Measure(Times& times, F&& f)
{
    timespec cpu0, wall0, cpu1, wall1;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &cpu0);
    clock_gettime(CLOCK_MONOTONIC, &wall0);
    f();
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &cpu1);
    clock_gettime(CLOCK_MONOTONIC, &wall1);
    const auto seconds = [](const timespec& a, const timespec& b) { return (b.tv_sec - a.tv_sec) + (b.tv_nsec - a.tv_nsec) * 1e-9; };
    times.cpu += seconds(cpu0, cpu1);
    times.wall += seconds(wall0, wall1);
}

// The three above in turns within each iteration, so that a busy machine slows them alike: the
// counters are the plain parse's time and what writing and reading the theme take against it
// (x_cpu from thread CPU time, x_wall from wall time). Each step frees what it made, as above.
// Timing the steps apart, as above, lets whichever runs first grow the process's memory for the
// others, which moves the ratios by a factor of two on a 100,000-item theme.
void BM_DocumentAgainstParse(benchmark::State& state)
{
    const OpenUnique& t = Theme(static_cast<int>(state.range(0)));
    const BsxUnicodeString xml = t.ToXML(0, L"/data");
    Times parse, write, read;
    const auto round = [&](Times& p, Times& w, Times& r) {
        Measure(p, [&] {
            pugi::xml_document doc;
            benchmark::DoNotOptimize(doc.load_buffer(xml.Cstr(), xml.GetLength() * sizeof(wchar_t), pugi::parse_default,
                                                     pugi::encoding_wchar));
        });
        Measure(w, [&] { benchmark::DoNotOptimize(t.ToXML(0, L"/data")); });
        Measure(r, [&] {
            KrTheme3DUnique theme;
            benchmark::DoNotOptimize(theme.FromXML(xml, 0, L"/data"));
        });
    };
    // One untimed round first, so that no step pays for the memory the process has yet to grow
    Times unused;
    round(unused, unused, unused);
    for (auto _ : state) round(parse, write, read);
    const double n = static_cast<double>(state.iterations());
    state.counters["parse_ms"] = parse.cpu / n * 1e3;
    state.counters["ToXML_ms"] = write.cpu / n * 1e3;
    state.counters["FromXML_ms"] = read.cpu / n * 1e3;
    state.counters["ToXML_x_cpu"] = write.cpu / parse.cpu;
    state.counters["FromXML_x_cpu"] = read.cpu / parse.cpu;
    state.counters["ToXML_x_wall"] = write.wall / parse.wall;
    state.counters["FromXML_x_wall"] = read.wall / parse.wall;
}

} // namespace

BENCHMARK(BM_NumericLookup)->Arg(10)->Arg(1000)->Arg(100000);
BENCHMARK(BM_NumericWalk)->Arg(10)->Arg(1000)->Arg(100000);
BENCHMARK(BM_TextLookup)->Arg(10)->Arg(1000)->Arg(100000);
BENCHMARK(BM_TextWalk)->Arg(10)->Arg(1000)->Arg(100000);
// A step of a 100,000-item theme takes longer than the default least time, so without a longer
// one the benchmark would report the first, trial run, which grows the process's memory: writing
// and reading, slower than a parse, would be timed on that run and the parse on later ones
BENCHMARK(BM_ToXML)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ToXML)->Arg(100000)->MinTime(3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FromXML)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FromXML)->Arg(100000)->MinTime(3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PugixmlParse)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PugixmlParse)->Arg(100000)->MinTime(3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DocumentAgainstParse)->Arg(100000)->Iterations(5)->Unit(benchmark::kMillisecond);
