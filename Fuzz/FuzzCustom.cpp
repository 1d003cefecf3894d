// A custom theme over any text: read it, write it back, and evaluate the result on features of
// every geometry kind whose fields hold hostile numbers.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "BsxUnicodeString.h"
#include "FuzzCheck.h"
#include "KrFeature.h"
#include "KrGeometry.h"
#include "KrStyle.h"
#include "KrTheme3DCustom.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    KRN::KrTheme3DCustom again;
    if (!FuzzCheck::ReadWrittenAgain(data, size, L"", "custom theme", again, false)) return 0;

    // Whatever field names the document gave, every field below answers one of them
    const double values[] = {std::numeric_limits<double>::quiet_NaN(), HUGE_VAL, -HUGE_VAL, 1e300, -1e300,
                             4294967295.5, -2147483648.6, 2147483647.5, 0.5, -0.5};
    const int kinds[] = {1, 3, 5, 101, 103, 105, 1201, 7, 0};
    BSX::BsxArray<BSX::BsxUnicodeString> fields;
    for (int selector = -1; selector < 4; ++selector) again.GetThemeQueryDef(selector, fields);
    for (std::size_t k = 0; k < sizeof kinds / sizeof kinds[0]; ++k) {
        KRN::KrFeature feature(new KRN::KrGeometry(kinds[k]));
        const double value = values[(k + (size > 1 ? data[1] : 0)) % (sizeof values / sizeof values[0])];
        for (int i = 0; i < fields.GetSize(); ++i) {
            BSX::BsxUnicodeString name = fields[i];
            const int as = name.Find(L" as ");
            if (as >= 0) name = name.Left(as);
            feature.SetField(name, BSX::BsxVariant(value));
        }
        KRN::KrStyle style;
        again.FindStyle(&feature, style);
    }
    return 0;
}
