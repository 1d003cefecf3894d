// A unique theme over any text: read it, write it back, read that again, then look up values
// of every kind (hostile reals included) and edit it, checking that the lookups stay defined.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "BsxUnicodeString.h"
#include "FuzzCheck.h"
#include "BsxVariant.h"
#include "KrTheme3DItem.h"
#include "KrTheme3DUnique.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    KRN::KrTheme3DUnique again;
    if (!FuzzCheck::ReadWrittenAgain(data, size, L"/d", "unique theme", again, true)) return 0;

    const BSX::BsxVariant values[] = {
        BSX::BsxVariant(std::numeric_limits<double>::quiet_NaN()), BSX::BsxVariant(HUGE_VAL), BSX::BsxVariant(-HUGE_VAL),
        BSX::BsxVariant(1e300), BSX::BsxVariant(2.5), BSX::BsxVariant(2.5f), BSX::BsxVariant(0.0), BSX::BsxVariant(7),
        BSX::BsxVariant(L"a"), BSX::BsxVariant(),
    };
    for (const BSX::BsxVariant& v : values) {
        again.FindStyle(v);
        again.IsModellingStyleEnabled(v);
    }
    for (int i = 0; i < again.GetCount(); ++i) {
        again.FindStyle(again.GetValueAt(i));
        again.FindStyle(BSX::BsxVariant(again.GetValueAt(i).ToDouble()));
    }
    if (again.GetCount() > 0) {
        again.InsertItem(again.GetCount() / 2, L"1e-300", KRN::KrTheme3DItem());
        again.SetValueAt(0, L"nan");
        again.RemoveAt(again.GetCount() / 3, again.GetCount() / 2);
        again.FindStyle(BSX::BsxVariant(0.0));
    }
    return 0;
}
