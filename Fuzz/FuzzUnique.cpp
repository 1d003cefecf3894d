// A unique theme over any text: read it, write it back, read that again, then look up values
// of every kind (hostile reals included) and edit it, checking that the lookups stay defined.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>

#include "BsxUnicodeString.h"
#include "FuzzCheck.h"
#include "BsxVariant.h"
#include "KrTheme3DItem.h"
#include "KrTheme3DUnique.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 1) return 0;
    const int versions[] = {0, 20090106, 20120328, 1};
    const int version = versions[data[0] % 4];
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    KRN::KrTheme3DUnique theme;
    theme.SetExternalValueMode(data[0] / 4 % 3);
    theme.FromXML(BSX::BsxUnicodeString::FromUtf8(text), version, BSX::BsxUnicodeString(L"/d"));
    const BSX::BsxUnicodeString first = theme.ToXML(version, BSX::BsxUnicodeString(L"/d"));
    KRN::KrTheme3DUnique again;
    again.FromXML(first, version, BSX::BsxUnicodeString(L"/d"));
    FuzzCheck::SameText(first, again.ToXML(version, BSX::BsxUnicodeString(L"/d")), "unique theme");

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
