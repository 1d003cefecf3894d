#include "KrStyleXml.h"

#include <cerrno>
#include <cstdio>
#include <cwchar>

namespace KRN {
namespace StyleXml {

BSX::BsxUnicodeString Real(double value)
{
    char buf[32];
    const int n = std::snprintf(buf, sizeof buf, "%.17g", value);
    return BSX::BsxUnicodeString::FromUtf8(buf, n > 0 ? static_cast<size_t>(n) : 0);
}

BSX::BsxUnicodeString Color(const KrColorValue3D& c)
{
    return Real(c.r) + L"," + Real(c.g) + L"," + Real(c.b) + L"," + Real(c.a);
}

bool ParseReal(const BSX::BsxUnicodeString& text, double& value)
{
    const wchar_t* p = text.Cstr();
    wchar_t* end = nullptr;
    double v = std::wcstod(p, &end);
    if (end == p) return false;
    while (*end == L' ') ++end;
    if (*end) return false;
    value = v;
    return true;
}

bool ParseInt(const BSX::BsxUnicodeString& text, long long& value)
{
    const wchar_t* p = text.Cstr();
    wchar_t* end = nullptr;
    errno = 0;
    long long v = std::wcstoll(p, &end, 10);
    if (end == p || *end || errno == ERANGE) return false;
    value = v;
    return true;
}

bool ParseColor(const BSX::BsxUnicodeString& text, KrColorValue3D& c)
{
    double parts[4];
    int start = 0;
    for (int i = 0; i < 4; ++i) {
        int comma = text.Find(L',', start);
        if ((i < 3) != (comma >= 0)) return false;
        BSX::BsxUnicodeString piece = i < 3 ? text.Mid(start, comma - start) : text.Mid(start);
        if (!ParseReal(piece, parts[i])) return false;
        start = comma + 1;
    }
    c = KrColorValue3D(parts[0], parts[1], parts[2], parts[3]);
    return true;
}

} // namespace StyleXml
} // namespace KRN
