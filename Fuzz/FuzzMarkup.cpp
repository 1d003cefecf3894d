// The XML cursor over any text: every operation in a loop driven by the input's first bytes.
#include <cstddef>
#include <cstdint>
#include <string>

#include "BsxUnicodeString.h"
#include "KrMarkup.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 1) return 0;
    const std::size_t ops = data[0] % 32;
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    KRN::KrMarkup m(BSX::BsxUnicodeString::FromUtf8(text).Cstr());
    const wchar_t* names[] = {nullptr, L"tdx:Theme3D", L"tdx:Style", L"a", L"b"};
    for (std::size_t i = 0; i < ops && i + 1 < size; ++i) {
        const std::uint8_t op = data[1 + i];
        const wchar_t* name = names[op % 5];
        switch ((op >> 3) % 10) {
        case 0: m.FindElem(name); break;
        case 1: m.FindChildElem(name); break;
        case 2: m.IntoElem(); break;
        case 3: m.OutOfElem(); break;
        case 4: m.ResetChildPos(); break;
        case 5: m.GetChildSubDoc(); m.GetChildData(); break;
        case 6: m.AddElem(L"x", L"t<&>", false, (op & 1) != 0); break;
        case 7: m.AddSubDoc(m.GetChildSubDoc().Cstr(), false, true); break;
        case 8: m.SetAttrib(op & 1, L"k", L"v"); break;
        default: m.GetChildAttrib(L"k"); break;
        }
    }
    KRN::KrMarkup again(m.GetDoc().Cstr());
    again.FindChildElem();
    return 0;
}
