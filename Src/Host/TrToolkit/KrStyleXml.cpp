#include "KrStyleXml.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cwchar>
#include <cwctype>
#include <string>

namespace KRN {
namespace StyleXml {

size_t WriteReal(double value, wchar_t* out)
{
    // The general format with a precision is "%.17g", without the C library's locale and
    // format parsing. A whole number below 1e15 prints as its digits there, and most style
    // values are such (0, 1, 90), so they take the integer printer; -0 keeps its sign.
    char buf[kRealChars];
    const bool whole = std::fabs(value) < 1e15 && value == std::trunc(value) && !(value == 0 && std::signbit(value));
    const std::to_chars_result r = whole ? std::to_chars(buf, buf + sizeof buf, static_cast<long long>(value))
                                         : std::to_chars(buf, buf + sizeof buf, value, std::chars_format::general, 17);
    const size_t n = static_cast<size_t>(r.ptr - buf);
    for (size_t i = 0; i < n; ++i) out[i] = static_cast<wchar_t>(buf[i]);
    return n;
}

size_t WriteColor(const KrColorValue3D& c, wchar_t* out)
{
    size_t n = WriteReal(c.r, out);
    for (double part : {c.g, c.b, c.a}) {
        out[n++] = L',';
        n += WriteReal(part, out + n);
    }
    return n;
}

namespace {
// The text the C library would see: up to the first NUL
std::wstring_view UpToNul(std::wstring_view text)
{
    const size_t nul = text.find(L'\0');
    return nul == std::wstring_view::npos ? text : text.substr(0, nul);
}
} // namespace

bool ParseReal(std::wstring_view text, double& value)
{
    // The common case, read exactly as wcstod reads it
    if (BSX::BsxUnicodeString::ParsePlainDecimal(text, value)) return true;
    const std::wstring s(UpToNul(text));
    const wchar_t* p = s.c_str();
    wchar_t* end = nullptr;
    double v = std::wcstod(p, &end);
    if (end == p) return false;
    while (*end == L' ') ++end;
    if (*end) return false;
    value = v;
    return true;
}

bool ParseInt(std::wstring_view text, long long& value)
{
    const std::wstring s(UpToNul(text));
    const wchar_t* p = s.c_str();
    wchar_t* end = nullptr;
    errno = 0;
    long long v = std::wcstoll(p, &end, 10);
    if (end == p || *end || errno == ERANGE) return false;
    value = v;
    return true;
}

bool ParseColor(std::wstring_view text, KrColorValue3D& c)
{
    double parts[4];
    size_t start = 0;
    for (int i = 0; i < 4; ++i) {
        const size_t comma = start <= text.size() ? text.find(L',', start) : std::wstring_view::npos;
        if ((i < 3) != (comma != std::wstring_view::npos)) return false;
        const std::wstring_view piece = start >= text.size() ? std::wstring_view()
                                        : i < 3                ? text.substr(start, comma - start)
                                                               : text.substr(start);
        if (!ParseReal(piece, parts[i])) return false;
        start = comma + 1;
    }
    c = KrColorValue3D(parts[0], parts[1], parts[2], parts[3]);
    return true;
}

bool ParseBool(std::wstring_view text)
{
    // As a case-blind comparison of C strings: the text ends at its first NUL
    const std::wstring_view word = L"TRUE";
    text = UpToNul(text);
    if (text.size() != word.size()) return false;
    for (size_t i = 0; i < word.size(); ++i)
        if (std::towlower(static_cast<wint_t>(text[i])) != std::towlower(static_cast<wint_t>(word[i]))) return false;
    return true;
}

} // namespace StyleXml
} // namespace KRN
