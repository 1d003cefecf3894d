#pragma once
// Rules every kind of theme shares: the tolerance of real comparisons and the query field name.
#include "BsxUnicodeString.h"

namespace KRN {
namespace ThemeRules {

// Two reals are equal, and a real is zero, when their difference lies strictly inside
// (-kTolerance, kTolerance)
constexpr double kTolerance = 1e-10;

// "<prefix><suffix>"; with alias "<expression> as <prefix><suffix>", or the empty text when
// there is no expression to alias
inline BSX::BsxUnicodeString FieldName(const wchar_t* prefix, const BSX::BsxUnicodeString& suffix,
                                       const BSX::BsxUnicodeString& expression, bool alias)
{
    const BSX::BsxUnicodeString name = BSX::BsxUnicodeString(prefix) + suffix;
    if (!alias) return name;
    if (expression.IsEmpty()) return BSX::BsxUnicodeString();
    return expression + L" as " + name;
}

} // namespace ThemeRules
} // namespace KRN
