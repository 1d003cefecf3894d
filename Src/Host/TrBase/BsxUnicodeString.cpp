#include "BsxUnicodeString.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdlib>
#include <cwchar>
#include <cwctype>
#include <vector>

namespace BSX {

BsxUnicodeString::BsxUnicodeString(const wchar_t* text) : m_text(text ? text : L"") {}

BsxUnicodeString& BsxUnicodeString::operator=(const wchar_t* text)
{
    m_text = text ? text : L"";
    return *this;
}

BsxUnicodeString BsxUnicodeString::FromUtf8(const char* text, size_t length)
{
    // Never more characters than bytes: reserve once, so that a long document is written once
    // instead of being zero-filled first
    std::wstring out;
    out.reserve(text ? length : 0);
    AppendUtf8(out, text, length);
    return BsxUnicodeString(std::move(out));
}

void BsxUnicodeString::AppendUtf8(std::wstring& out, const char* text, size_t length)
{
    const size_t n = text ? length : 0;
    // Written through a small buffer: appending whole runs is far cheaper than a character
    // at a time
    wchar_t buffer[4096];
    size_t used = 0;
    const auto* s = reinterpret_cast<const unsigned char*>(text);
    size_t i = 0;
    while (i < n) {
        if (used > sizeof buffer / sizeof buffer[0] - 1) {
            out.append(buffer, used);
            used = 0;
        }
        // A run of ASCII, the bulk of any document, in a tight loop, in blocks of sixteen first
        const size_t run = std::min(n - i, sizeof buffer / sizeof buffer[0] - used);
        size_t k = 0;
        while (run - k >= 16) {
            unsigned int any = 0;
            for (size_t b = 0; b < 16; ++b) any |= s[i + k + b];
            if (any >= 0x80) break;
            for (size_t b = 0; b < 16; ++b) buffer[used + k + b] = static_cast<wchar_t>(s[i + k + b]);
            k += 16;
        }
        while (k < run && s[i + k] < 0x80) {
            buffer[used + k] = static_cast<wchar_t>(s[i + k]);
            ++k;
        }
        used += k;
        i += k;
        if (i == n || used == sizeof buffer / sizeof buffer[0]) continue;
        unsigned char c = s[i];
        unsigned int cp = 0;
        int extra = 0;
        if (c < 0x80) { buffer[used++] = static_cast<wchar_t>(c); ++i; continue; }
        else if ((c & 0xE0) == 0xC0) { cp = c & 0x1F; extra = 1; }
        else if ((c & 0xF0) == 0xE0) { cp = c & 0x0F; extra = 2; }
        else if ((c & 0xF8) == 0xF0) { cp = c & 0x07; extra = 3; }
        else { buffer[used++] = L'\xFFFD'; ++i; continue; }
        bool ok = true;
        for (int k = 1; k <= extra; ++k) {
            if (i + k >= n || (s[i + k] & 0xC0) != 0x80) { ok = false; break; }
            cp = (cp << 6) | (s[i + k] & 0x3F);
        }
        if (!ok || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) { buffer[used++] = L'\xFFFD'; ++i; continue; }
        buffer[used++] = static_cast<wchar_t>(cp);
        i += static_cast<size_t>(extra) + 1;
    }
    out.append(buffer, used);
}

std::string BsxUnicodeString::ToUtf8(const wchar_t* text, size_t length)
{
    // Documents are long and mostly ASCII: reserve one byte a character and append through a
    // small buffer; the string grows only for the characters that take more
    std::string out;
    out.reserve(length);
    char buffer[4096];
    size_t used = 0;
    size_t i = 0;
    while (i < length) {
        if (used > sizeof buffer - 4) {
            out.append(buffer, used);
            used = 0;
        }
        // A run of ASCII, the bulk of any document, in a tight loop; it leaves room for the
        // four bytes of the character after it. Blocks of sixteen are checked and copied
        // together, which the compiler turns into vector instructions.
        const size_t run = std::min(length - i, sizeof buffer - 4 - used);
        size_t k = 0;
        while (run - k >= 16) {
            unsigned int any = 0;
            for (size_t b = 0; b < 16; ++b) any |= static_cast<unsigned int>(text[i + k + b]);
            if (any >= 0x80) break;
            for (size_t b = 0; b < 16; ++b) buffer[used + k + b] = static_cast<char>(text[i + k + b]);
            k += 16;
        }
        while (k < run && text[i + k] >= 0 && text[i + k] < 0x80) {
            buffer[used + k] = static_cast<char>(text[i + k]);
            ++k;
        }
        used += k;
        i += k;
        if (i == length) break;
        used += EncodeUtf8(text[i++], reinterpret_cast<unsigned char*>(buffer + used));
    }
    out.append(buffer, used);
    return out;
}

wchar_t BsxUnicodeString::operator[](int index) const
{
    if (index < 0 || index >= GetLength()) return 0;
    return m_text[static_cast<size_t>(index)];
}

namespace {
// glibc's wide printf reads "%s" and "%c" as narrow arguments; the host's reads them wide.
// Rewrite each bare s/c conversion to its explicit wide form.
std::wstring WidenConversions(const wchar_t* format)
{
    std::wstring out;
    for (const wchar_t* p = format; *p; ++p) {
        out += *p;
        if (*p != L'%') continue;
        ++p;
        if (*p == L'%') { out += *p; continue; }
        // flags, width, precision, length
        bool hasLength = false;
        while (*p && std::wcschr(L"-+ #0123456789.*'", *p)) out += *p++;
        while (*p && std::wcschr(L"hlLqjzt", *p)) { hasLength = true; out += *p++; }
        if (!*p) break;
        if ((*p == L's' || *p == L'c') && !hasLength) out += L'l';
        out += *p;
    }
    return out;
}
} // namespace

bool BsxUnicodeString::Format(const wchar_t* format, ...)
{
    va_list args;
    va_start(args, format);
    bool ok = FormatV(format, args);
    va_end(args);
    return ok;
}

bool BsxUnicodeString::FormatV(const wchar_t* format, va_list args)
{
    m_text.clear();
    if (!format) return false;
    const std::wstring fmt = WidenConversions(format);
    // Most results are short: try a buffer on the stack before growing one on the heap.
    // vswprintf gives -1 both for a short buffer and for a bad format, so growth is bounded.
    wchar_t local[128];
    va_list copy;
    va_copy(copy, args);
    int n = std::vswprintf(local, sizeof local / sizeof local[0], fmt.c_str(), copy);
    va_end(copy);
    if (n >= 0) {
        m_text.assign(local, static_cast<size_t>(n));
        return true;
    }
    std::vector<wchar_t> buffer(1024);
    for (int attempt = 0; attempt < 16; ++attempt) {
        va_copy(copy, args);
        n = std::vswprintf(buffer.data(), buffer.size(), fmt.c_str(), copy);
        va_end(copy);
        if (n >= 0) {
            m_text.assign(buffer.data(), static_cast<size_t>(n));
            return true;
        }
        if (buffer.size() >= (1u << 20)) break;
        buffer.resize(buffer.size() * 4);
    }
    return false;
}

void BsxUnicodeString::TrimLeft()
{
    size_t i = 0;
    while (i < m_text.size() && std::iswspace(static_cast<wint_t>(m_text[i]))) ++i;
    m_text.erase(0, i);
}

void BsxUnicodeString::TrimRight()
{
    size_t n = m_text.size();
    while (n > 0 && std::iswspace(static_cast<wint_t>(m_text[n - 1]))) --n;
    m_text.resize(n);
}

void BsxUnicodeString::TrimLeft(const wchar_t* set)
{
    if (!set) return;
    size_t i = 0;
    while (i < m_text.size() && std::wcschr(set, m_text[i]) && m_text[i] != 0) ++i;
    m_text.erase(0, i);
}

void BsxUnicodeString::TrimRight(const wchar_t* set)
{
    if (!set) return;
    size_t n = m_text.size();
    while (n > 0 && m_text[n - 1] != 0 && std::wcschr(set, m_text[n - 1])) --n;
    m_text.resize(n);
}

void BsxUnicodeString::TrimRight(wchar_t ch)
{
    size_t n = m_text.size();
    while (n > 0 && m_text[n - 1] == ch) --n;
    m_text.resize(n);
}

int BsxUnicodeString::CompareNoCase(const wchar_t* other) const
{
    const wchar_t* a = m_text.c_str();
    const wchar_t* b = other ? other : L"";
    for (;; ++a, ++b) {
        wint_t ca = std::towlower(static_cast<wint_t>(*a));
        wint_t cb = std::towlower(static_cast<wint_t>(*b));
        if (ca != cb) return ca < cb ? -1 : 1;
        if (ca == 0) return 0;
    }
}

int BsxUnicodeString::Find(const wchar_t* what, int start) const
{
    if (!what || start < 0 || start > GetLength()) return -1;
    size_t pos = m_text.find(what, static_cast<size_t>(start));
    return pos == std::wstring::npos ? -1 : static_cast<int>(pos);
}

int BsxUnicodeString::Find(wchar_t ch, int start) const
{
    if (start < 0 || start > GetLength()) return -1;
    size_t pos = m_text.find(ch, static_cast<size_t>(start));
    return pos == std::wstring::npos ? -1 : static_cast<int>(pos);
}

int BsxUnicodeString::Replace(const wchar_t* from, const wchar_t* to)
{
    if (!from || !*from) return 0;
    const std::wstring f(from), t(to ? to : L"");
    int count = 0;
    size_t pos = 0;
    while ((pos = m_text.find(f, pos)) != std::wstring::npos) {
        m_text.replace(pos, f.size(), t);
        pos += t.size();
        ++count;
    }
    return count;
}

BsxUnicodeString BsxUnicodeString::Left(int count) const
{
    if (count <= 0) return BsxUnicodeString();
    return BsxUnicodeString(m_text.substr(0, static_cast<size_t>(count)));
}

BsxUnicodeString BsxUnicodeString::Right(int count) const
{
    if (count <= 0) return BsxUnicodeString();
    size_t n = std::min(static_cast<size_t>(count), m_text.size());
    return BsxUnicodeString(m_text.substr(m_text.size() - n));
}

BsxUnicodeString BsxUnicodeString::Mid(int start, int count) const
{
    if (start < 0) start = 0;
    if (start >= GetLength()) return BsxUnicodeString();
    size_t n = count < 0 ? std::wstring::npos : static_cast<size_t>(count);
    return BsxUnicodeString(m_text.substr(static_cast<size_t>(start), n));
}

bool BsxUnicodeString::ParsePlainDecimal(std::wstring_view text, double& value)
{
    char narrow[64];
    const size_t n = text.size();
    if (!n || n >= sizeof narrow) return false;
    for (size_t i = 0; i < n; ++i) {
        const wchar_t c = text[i];
        if (!((c >= L'0' && c <= L'9') || c == L'.' || c == L'-' || c == L'+' || c == L'e' || c == L'E')) return false;
        narrow[i] = static_cast<char>(c);
    }
    double v = 0.0;
    const std::from_chars_result r = std::from_chars(narrow, narrow + n, v);
    if (r.ec != std::errc() || r.ptr != narrow + n) return false;
    value = v;
    return true;
}

double BsxUnicodeString::ToDouble() const
{
    // The common case without the locale's cost
    double value = 0.0;
    return ParsePlainDecimal(m_text, value) ? value : std::wcstod(m_text.c_str(), nullptr);
}

unsigned int BsxUnicodeString::ToUInt(unsigned int radix) const
{
    // The C library's unsigned reading on a 32-bit unsigned long, as the host has it: a leading
    // minus negates modulo 2^32 ("-1" gives 4294967295), a number past the range gives the maximum
    if (radix != 0 && (radix < 2 || radix > 36)) return 0;
    const wchar_t* p = m_text.c_str();
    while (std::iswspace(static_cast<wint_t>(*p))) ++p;
    bool negative = false;
    if (*p == L'+' || *p == L'-') negative = (*p++ == L'-');
    if (*p == L'+' || *p == L'-') return 0;
    errno = 0;
    const unsigned long long v = std::wcstoull(p, nullptr, static_cast<int>(radix));
    if (errno == ERANGE || v > UINT_MAX) return UINT_MAX;
    const unsigned int magnitude = static_cast<unsigned int>(v);
    return negative ? 0u - magnitude : magnitude;
}

} // namespace BSX
