// Label text of one value per feature: a million calls per value kind, under the default
// number format and under a custom one. The reference repeats the per-call work a naive label
// would do (strip the leading "%", rebuild the conversion, format through the host string,
// trim) so that the ratio shows what checking and preparing the format once saves.
#include <benchmark/benchmark.h>

#include "BsxTime.h"
#include "BsxVariant.h"
#include "KrTheme3DLabel.h"

using namespace BSX;
using namespace KRN;

namespace {

constexpr int kCalls = 1000000;

BsxVariant ValueOfKind(int kind)
{
    switch (kind) {
    case 0: return BsxVariant(static_cast<short>(-1234));
    case 1: return BsxVariant(123456789);
    case 2: return BsxVariant(9876543210123LL);
    case 3: return BsxVariant(0.5f);
    case 4: return BsxVariant(1234.5678);
    case 5: return BsxVariant(BsxTime(2014, 3, 7, 13, 5, 9), BsxVariant::VT_DATE);
    default: return BsxVariant(L"Main Street  ");
    }
}

const char* const kKindNames[] = {"int16", "int32", "int64", "float", "double", "date", "text"};

void LabelText(benchmark::State& state)
{
    KrTheme3DLabel label;
    if (state.range(1) != 0) label.SetNumFormat(L"%.2f");
    const BsxVariant value = ValueOfKind(static_cast<int>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(label.GetStringFromVariant(value));
    state.SetLabel(std::string(kKindNames[state.range(0)]) + (state.range(1) ? " %.2f" : " default"));
}
BENCHMARK(LabelText)->ArgsProduct({{0, 1, 2, 3, 4, 5, 6}, {0, 1}})->Iterations(kCalls);

// The reference for the floating kinds: the format prepared on every call
void NaiveDoubleText(benchmark::State& state)
{
    const BsxUnicodeString numFormat = state.range(0) ? L"%.2f" : L"";
    const double value = 1234.5678;
    for (auto _ : state) {
        BsxUnicodeString format = numFormat.IsEmpty() ? BsxUnicodeString(L"%.10f") : numFormat;
        format.TrimLeft(L"%");
        format = L"%" + format;
        BsxUnicodeString text;
        text.Format(format.Cstr(), value);
        if (numFormat.IsEmpty()) {
            text.TrimRight(L"0");
            text.TrimRight(L".");
        }
        text.TrimRight();
        benchmark::DoNotOptimize(text);
    }
    state.SetLabel(state.range(0) ? "double %.2f" : "double default");
}
BENCHMARK(NaiveDoubleText)->Arg(0)->Arg(1)->Iterations(kCalls);

} // namespace
