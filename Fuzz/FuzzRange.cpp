// A range theme over any text: read it, write it back, read that again, then look up hostile
// values, edit the breaks and classify hostile data, checking that everything stays defined.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "BsxArray.h"
#include "BsxUnicodeString.h"
#include "BsxVariant.h"
#include "FuzzCheck.h"
#include "KrTheme3DItem.h"
#include "KrTheme3DRange.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    KRN::KrTheme3DRange again;
    if (!FuzzCheck::ReadWrittenAgain(data, size, L"/d", "range theme", again, true)) return 0;

    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double reals[] = {nan, HUGE_VAL, -HUGE_VAL, 1e300, -1e300, 0.0, 2.5, 1e-20};
    for (double r : reals) {
        again.FindStyle(r);
        again.FindStyle(BSX::BsxVariant(r));
        again.IsModellingStyleEnabled(BSX::BsxVariant(r));
        again.Find(r);
    }
    again.FindStyle(BSX::BsxVariant(L"x"));
    for (int i = 0; i < again.GetValueCount(); ++i) again.FindStyle(again.GetValueAt(i));
    if (again.GetValueCount() > 0) {
        again.InsertAt(again.GetValueCount() / 2, nan, KRN::KrTheme3DItem());
        again.SetValueAt(0, HUGE_VAL);
        again.FindStyle(1.0);
        again.RemoveAt(again.GetValueCount() / 3, again.GetValueCount() / 2 + 1);
        again.FindStyle(0.0);
    }

    // The document's bytes as data for every classification
    BSX::BsxArray<double> values;
    values.Add(reals[data[0] % 8]);
    for (std::size_t i = 1; i + 1 < size && i < 64; i += 2) values.Add(static_cast<std::int8_t>(data[i]) * 1.5);
    values.Add(reals[(size + data[0]) % 8]);
    // Class counts from -2 to 61, and now and then one past the largest count a classification
    // makes: every default item costs an allocation, so huge counts on every input would leave
    // the reader above only a few runs a second
    const int selector = size > 1 ? data[1] : 5;
    const int count = selector == 255 ? KRN::KrTheme3DRange::kMaxClasses + 1 : selector % 64 - 2;
    for (int method = 0; method <= 6; ++method)
        again.MakeDefault(method, count, values, KRN::KrTheme3DRange::QuantileBreaks(values, count), reals[size % 8]);
    return 0;
}
