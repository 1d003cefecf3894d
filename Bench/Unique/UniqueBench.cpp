// Lookups of the unique theme against the plain walk over the display order, and its document
// against a plain pugixml parse of the same text.
#include <benchmark/benchmark.h>

#include <pugixml.hpp>

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

} // namespace

BENCHMARK(BM_NumericLookup)->Arg(10)->Arg(1000)->Arg(100000);
BENCHMARK(BM_NumericWalk)->Arg(10)->Arg(1000)->Arg(100000);
BENCHMARK(BM_TextLookup)->Arg(10)->Arg(1000)->Arg(100000);
BENCHMARK(BM_TextWalk)->Arg(10)->Arg(1000)->Arg(100000);
BENCHMARK(BM_ToXML)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FromXML)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PugixmlParse)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
