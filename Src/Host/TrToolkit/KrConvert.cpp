#include "KrConvert.h"

#include <climits>
#include <cwchar>
#include <cwctype>

namespace KRN {

int kratoi(const BSX::BsxUnicodeString& text)
{
    const wchar_t* p = text.Cstr();
    while (std::iswspace(static_cast<wint_t>(*p))) ++p;
    bool negative = false;
    if (*p == L'+' || *p == L'-') negative = (*p++ == L'-');
    long long value = 0;
    for (; *p >= L'0' && *p <= L'9'; ++p) {
        value = value * 10 + (*p - L'0');
        if (value > static_cast<long long>(INT_MAX) + 1) break;
    }
    if (negative) value = -value;
    if (value > INT_MAX) return INT_MAX;
    if (value < INT_MIN) return INT_MIN;
    return static_cast<int>(value);
}

double kratof(const BSX::BsxUnicodeString& text)
{
    const wchar_t* p = text.Cstr();
    while (std::iswspace(static_cast<wint_t>(*p))) ++p;
    // The C library's reading, "inf", "infinity" and "nan" included, except hexadecimal floats,
    // which are not numbers here ("0x10" is 0)
    const wchar_t* q = p;
    if (*q == L'+' || *q == L'-') ++q;
    if (*q == L'0' && (q[1] == L'x' || q[1] == L'X')) return 0.0;
    return std::wcstod(p, nullptr);
}

bool NumberToString(int value, BSX::BsxUnicodeString& text)
{
    return text.Format(L"%d", value);
}

} // namespace KRN
