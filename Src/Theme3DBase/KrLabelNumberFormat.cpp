#include "KrLabelNumberFormat.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cwchar>

namespace KRN {

namespace {

// Reads a run of decimal digits; false when the number exceeds limit (checked digit by digit so
// that a hostile run of digits cannot overflow)
bool ReadNumber(const wchar_t*& p, int limit, int& value)
{
    value = 0;
    while (*p >= L'0' && *p <= L'9') {
        value = value * 10 + static_cast<int>(*p - L'0');
        if (value > limit) return false;
        ++p;
    }
    return true;
}

bool IsFloatingConversion(wchar_t c) { return c != 0 && std::wcschr(L"fFeEgGaA", c) != nullptr; }

} // namespace

bool KrLabelNumberFormat::Parse(const wchar_t* format)
{
    *this = KrLabelNumberFormat();
    if (!format) return false;

    bool seen = false;
    bool minus = false, plus = false, space = false, alternate = false, zero = false;
    int width = -1, precision = -1;
    wchar_t conversion = 0;
    std::wstring prefix, suffix;

    for (const wchar_t* p = format; *p;) {
        std::wstring& literal = seen ? suffix : prefix;
        if (*p != L'%') {
            literal += *p++;
            continue;
        }
        if (p[1] == L'%') {
            literal += L'%';
            p += 2;
            continue;
        }
        if (seen) return false;
        ++p;
        for (;; ++p) {
            if (*p == L'-') minus = true;
            else if (*p == L'+') plus = true;
            else if (*p == L' ') space = true;
            else if (*p == L'#') alternate = true;
            else if (*p == L'0') zero = true;
            else break;
        }
        if (*p >= L'1' && *p <= L'9' && !ReadNumber(p, kMaxWidth, width)) return false;
        if (*p == L'.') {
            ++p;
            if (!ReadNumber(p, kMaxPrecision, precision)) return false;
        }
        // "l" has no effect on a floating conversion; any other length would change the argument type
        if (*p == L'l') ++p;
        if (!IsFloatingConversion(*p)) return false;
        conversion = *p++;
        seen = true;
    }
    if (!seen) return false;

    // Flags in a fixed order, each once, so the rebuilt conversion has a bounded length
    char* q = m_conversion;
    *q++ = '%';
    if (minus) *q++ = '-';
    if (plus) *q++ = '+';
    if (space) *q++ = ' ';
    if (alternate) *q++ = '#';
    if (zero) *q++ = '0';
    const std::size_t room = sizeof m_conversion - static_cast<std::size_t>(q - m_conversion);
    if (width >= 0 && precision >= 0)
        std::snprintf(q, room, "%d.%d%c", width, precision, static_cast<char>(conversion));
    else if (width >= 0)
        std::snprintf(q, room, "%d%c", width, static_cast<char>(conversion));
    else if (precision >= 0)
        std::snprintf(q, room, ".%d%c", precision, static_cast<char>(conversion));
    else
        std::snprintf(q, room, "%c", static_cast<char>(conversion));

    m_fast = !alternate && conversion != L'a' && conversion != L'A';
    m_minus = minus;
    m_plus = plus;
    m_space = space;
    m_zero = zero;
    m_upper = conversion == L'F' || conversion == L'E' || conversion == L'G';
    m_width = width < 0 ? 0 : width;
    m_precision = precision < 0 ? 6 : precision;
    m_kind = static_cast<char>(std::tolower(static_cast<unsigned char>(conversion)));

    m_prefix = std::move(prefix);
    m_suffix = std::move(suffix);
    m_valid = true;
    return true;
}

void KrLabelNumberFormat::AppendFast(double value, std::wstring& out) const
{
    char digits[32 + 309 + kMaxPrecision];
    const std::chars_format form = m_kind == 'f' ? std::chars_format::fixed
                                   : m_kind == 'e' ? std::chars_format::scientific
                                                   : std::chars_format::general;
    const std::to_chars_result r = std::to_chars(digits, digits + sizeof digits, value, form, m_precision);
    if (r.ec != std::errc()) return;
    const char* begin = digits;
    const char* end = r.ptr;
    char sign = 0;
    if (*begin == '-') {
        sign = '-';
        ++begin;
    } else if (m_plus) {
        sign = '+';
    } else if (m_space) {
        sign = ' ';
    }
    const int length = static_cast<int>(end - begin) + (sign ? 1 : 0);
    const int padding = m_width > length ? m_width - length : 0;
    out.reserve(out.size() + static_cast<std::size_t>(length + padding) + m_suffix.size());
    // As printf does, zeros pad only finite numbers, between the sign and the digits
    const bool zeroPad = m_zero && !m_minus && std::isfinite(value);
    if (padding && !m_minus && !zeroPad) out.append(static_cast<std::size_t>(padding), L' ');
    if (sign) out += static_cast<wchar_t>(sign);
    if (padding && zeroPad) out.append(static_cast<std::size_t>(padding), L'0');
    for (const char* p = begin; p != end; ++p) {
        const char c = m_upper ? static_cast<char>(std::toupper(static_cast<unsigned char>(*p))) : *p;
        out += static_cast<wchar_t>(static_cast<unsigned char>(c));
    }
    if (padding && m_minus) out.append(static_cast<std::size_t>(padding), L' ');
}

void KrLabelNumberFormat::Append(double value, std::wstring& out) const
{
    if (!m_valid) return;
    out += m_prefix;
    if (m_fast) {
        AppendFast(value, out);
    } else {
        // The longest text: 309 integer digits of the largest double, sign, point and the
        // largest precision (or the largest width, whichever is more)
        char buffer[32 + 309 + kMaxPrecision + kMaxWidth];
        const int n = std::snprintf(buffer, sizeof buffer, m_conversion, value);
        if (n > 0 && static_cast<std::size_t>(n) < sizeof buffer)
            for (int i = 0; i < n; ++i) out += static_cast<wchar_t>(static_cast<unsigned char>(buffer[i]));
    }
    out += m_suffix;
}

} // namespace KRN
