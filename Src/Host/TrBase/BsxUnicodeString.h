#pragma once
// Wide-character string of the host's foundation library.
#include <cstdarg>
#include <string>
#include <string_view>

namespace BSX {

/// Wide-character string of the host's foundation library
class BsxUnicodeString {
public:
    /// Construction and assignment: empty, from wide text (null is empty), copies and moves
    ///@{
    BsxUnicodeString() = default;
    BsxUnicodeString(const wchar_t* text);
    BsxUnicodeString(const std::wstring& text) : m_text(text) {}
    BsxUnicodeString(std::wstring&& text) : m_text(std::move(text)) {}
    BsxUnicodeString(const BsxUnicodeString&) = default;
    BsxUnicodeString(BsxUnicodeString&&) noexcept = default;
    BsxUnicodeString& operator=(const BsxUnicodeString&) = default;
    BsxUnicodeString& operator=(BsxUnicodeString&&) noexcept = default;
    BsxUnicodeString& operator=(const wchar_t* text);
    ///@}

    /// UTF-8 conversions (invalid sequences become U+FFFD)
    ///@{
    static BsxUnicodeString FromUtf8(const std::string& text) { return FromUtf8(text.data(), text.size()); }
    static BsxUnicodeString FromUtf8(const char* text, size_t length);
    /// Appends the conversion to out; a text cut before a byte that starts a character
    /// converts piece by piece exactly as it does whole
    static void AppendUtf8(std::wstring& out, const char* text, size_t length);
    std::string ToUtf8() const { return ToUtf8(m_text.data(), m_text.size()); }
    static std::string ToUtf8(const wchar_t* text, size_t length);
    ///@}
    /// The UTF-8 bytes of one character (U+FFFD for one without a UTF-8 form); how many, 1 to 4
    static size_t EncodeUtf8(wchar_t c, unsigned char* out)
    {
        auto cp = static_cast<unsigned long>(c);
        if (cp < 0x80) {
            out[0] = static_cast<unsigned char>(cp);
            return 1;
        }
        if (cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) cp = 0xFFFD;
        if (cp < 0x800) {
            out[0] = static_cast<unsigned char>(0xC0 | (cp >> 6));
            out[1] = static_cast<unsigned char>(0x80 | (cp & 0x3F));
            return 2;
        }
        if (cp < 0x10000) {
            out[0] = static_cast<unsigned char>(0xE0 | (cp >> 12));
            out[1] = static_cast<unsigned char>(0x80 | ((cp >> 6) & 0x3F));
            out[2] = static_cast<unsigned char>(0x80 | (cp & 0x3F));
            return 3;
        }
        out[0] = static_cast<unsigned char>(0xF0 | (cp >> 18));
        out[1] = static_cast<unsigned char>(0x80 | ((cp >> 12) & 0x3F));
        out[2] = static_cast<unsigned char>(0x80 | ((cp >> 6) & 0x3F));
        out[3] = static_cast<unsigned char>(0x80 | (cp & 0x3F));
        return 4;
    }

    /// Concatenation (a null wide pointer adds nothing)
    ///@{
    BsxUnicodeString& operator+=(const BsxUnicodeString& other) { m_text += other.m_text; return *this; }
    BsxUnicodeString& operator+=(const wchar_t* other) { if (other) m_text += other; return *this; }
    BsxUnicodeString& operator+=(wchar_t ch) { m_text += ch; return *this; }

    friend BsxUnicodeString operator+(const BsxUnicodeString& a, const BsxUnicodeString& b) { return BsxUnicodeString(a.m_text + b.m_text); }
    friend BsxUnicodeString operator+(const BsxUnicodeString& a, const wchar_t* b) { BsxUnicodeString r(a); r += b; return r; }
    friend BsxUnicodeString operator+(const wchar_t* a, const BsxUnicodeString& b) { BsxUnicodeString r(a); r += b; return r; }
    ///@}

    /// Exact comparison (a null wide pointer equals the empty string)
    ///@{
    friend bool operator==(const BsxUnicodeString& a, const BsxUnicodeString& b) { return a.m_text == b.m_text; }
    friend bool operator!=(const BsxUnicodeString& a, const BsxUnicodeString& b) { return a.m_text != b.m_text; }
    friend bool operator==(const BsxUnicodeString& a, const wchar_t* b) { return a.m_text == (b ? b : L""); }
    friend bool operator!=(const BsxUnicodeString& a, const wchar_t* b) { return !(a == b); }
    ///@}
    /// Order of dictionary keys: code-unit by code-unit
    friend bool operator<(const BsxUnicodeString& a, const BsxUnicodeString& b) { return a.m_text < b.m_text; }

    /// Whether there is no character
    bool IsEmpty() const { return m_text.empty(); }
    /// Removes every character
    void Empty() { m_text.clear(); }
    /// Number of UTF-16 code units
    int GetLength() const { return static_cast<int>(m_text.size()); }
    /// Character at index; 0 outside the string
    wchar_t operator[](int index) const;
    /// The characters, null-terminated, valid until the string changes
    ///@{
    const wchar_t* Cstr() const { return m_text.c_str(); }
    operator const wchar_t*() const { return m_text.c_str(); }
    const std::wstring& Str() const { return m_text; }
    ///@}

    /// printf-style formatting; "%s" and "%c" take wide arguments as the host does.
    /// A format the C library rejects leaves the string empty and answers false.
    ///@{
    bool Format(const wchar_t* format, ...);
    bool FormatV(const wchar_t* format, va_list args);
    ///@}

    /// Removes leading or trailing white space, characters of set, or one character repeated
    ///@{
    void TrimLeft();
    void TrimRight();
    void TrimLeft(const wchar_t* set);
    void TrimRight(const wchar_t* set);
    void TrimRight(wchar_t ch);
    ///@}

    /// 0 when equal ignoring case
    ///@{
    int CompareNoCase(const wchar_t* other) const;
    int CompareNoCase(const BsxUnicodeString& other) const { return CompareNoCase(other.Cstr()); }
    ///@}

    /// Index of the first occurrence at or after start, -1 when absent
    ///@{
    int Find(const wchar_t* what, int start = 0) const;
    int Find(wchar_t ch, int start = 0) const;
    ///@}
    /// Replaces every occurrence; answers the number of replacements
    int Replace(const wchar_t* from, const wchar_t* to);
    /// The first or last count characters, or count characters from start (-1: to the end)
    ///@{
    BsxUnicodeString Left(int count) const;
    BsxUnicodeString Right(int count) const;
    BsxUnicodeString Mid(int start, int count = -1) const;
    ///@}

    /// Leading number of the text (wcstod rules), 0 when there is none
    double ToDouble() const;
    /// A plain decimal ("12.5", "-3e-7") read without the C library's locale handling; false for
    /// any other text (white space, a leading '+', hexadecimal, trailing characters), which the
    /// caller reads with wcstod. Both round correctly, so they agree wherever this one reads.
    static bool ParsePlainDecimal(std::wstring_view text, double& value);
    /// Leading unsigned number in the radix, 0 when there is none, saturating at the maximum
    unsigned int ToUInt(unsigned int radix) const;

private:
    std::wstring m_text;
};

} // namespace BSX
