#include "KrStyleXml.h"

#include <cerrno>
#include <charconv>
#include <cwchar>

namespace KRN {
namespace StyleXml {

BSX::BsxUnicodeString Real(double value)
{
    // The general format with a precision is "%.17g", without the C library's locale and
    // format parsing
    char buf[32];
    const std::to_chars_result r = std::to_chars(buf, buf + sizeof buf, value, std::chars_format::general, 17);
    return BSX::BsxUnicodeString(std::wstring(buf, r.ptr));
}

BSX::BsxUnicodeString Color(const KrColorValue3D& c)
{
    return Real(c.r) + L"," + Real(c.g) + L"," + Real(c.b) + L"," + Real(c.a);
}

namespace {
// A plain decimal ("-12.5", "3e-7") as narrow characters; false for anything else (signs other
// than a leading minus, white space, hexadecimal, infinities and NaNs), which wcstod reads
bool PlainDecimal(const BSX::BsxUnicodeString& text, char* out, size_t capacity, size_t& length)
{
    const std::wstring& s = text.Str();
    if (s.empty() || s.size() >= capacity) return false;
    for (size_t i = 0; i < s.size(); ++i) {
        const wchar_t c = s[i];
        const bool sign = c == L'-' && (i == 0 || s[i - 1] == L'e' || s[i - 1] == L'E');
        if (!((c >= L'0' && c <= L'9') || c == L'.' || c == L'e' || c == L'E' || sign || (c == L'+' && i > 0 && (s[i - 1] == L'e' || s[i - 1] == L'E'))))
            return false;
        out[i] = static_cast<char>(c);
    }
    length = s.size();
    return true;
}
} // namespace

bool ParseReal(const BSX::BsxUnicodeString& text, double& value)
{
    // The common case, read exactly as wcstod reads it (both round correctly)
    char narrow[64];
    size_t length = 0;
    if (PlainDecimal(text, narrow, sizeof narrow, length)) {
        double v = 0.0;
        const std::from_chars_result r = std::from_chars(narrow, narrow + length, v);
        if (r.ec == std::errc() && r.ptr == narrow + length) {
            value = v;
            return true;
        }
    }
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
