#pragma once
// A printf-style format for one floating value, checked once when it is set so that formatting
// a value never hands the C library a conversion it would misread (a "%s", a "%n", a "*" width,
// a second conversion or an unbounded precision).
#include <string>

namespace KRN {

/// A printf-style format for one floating value, checked once when it is set
class KrLabelNumberFormat {
public:
    /// Width and precision above these are refused: no label needs more digits, and the bound
    /// keeps every formatted text within a fixed buffer
    ///@{
    static constexpr int kMaxWidth = 100;
    static constexpr int kMaxPrecision = 100;
    ///@}

    /// An unusable format until Parse succeeds
    KrLabelNumberFormat() = default;

    /// Accepts literal text, "%%" and exactly one conversion made of the flags "-+ #0", a decimal
    /// width, a "." with an optional decimal precision, an optional "l" and one of "fFeEgGaA".
    /// On false the format is unusable.
    bool Parse(const wchar_t* format);
    /// Whether the last Parse accepted its format
    bool IsValid() const { return m_valid; }

    /// Appends value formatted by the accepted format; appends nothing when unusable
    void Append(double value, std::wstring& out) const;

private:
    /// Conversions that std::to_chars writes exactly as printf does in the C locale, with the
    /// sign, case and padding applied here; the rest ("#", "a", "A") go through snprintf
    void AppendFast(double value, std::wstring& out) const;

    bool m_valid = false;
    bool m_fast = false;
    bool m_minus = false, m_plus = false, m_space = false, m_zero = false;
    bool m_upper = false;
    int m_width = 0;
    int m_precision = 6;
    char m_kind = 'f'; // 'f', 'e' or 'g'

    std::wstring m_prefix;  // literal text before the conversion, "%%" already reduced to "%"
    std::wstring m_suffix;  // literal text after it
    char m_conversion[24] = {}; // the narrow conversion rebuilt from the checked parts
};

} // namespace KRN
