#pragma once
// Text-to-number conversions of the host toolkit.
#include "BsxUnicodeString.h"

namespace KRN {

/// Leading decimal integer (after white space), saturated to the int range; 0 when there is none
int kratoi(const BSX::BsxUnicodeString& text);
/// Leading real number (after white space), read as the C library reads it except that a
/// hexadecimal float gives 0; 0 when there is none. "inf", "infinity" and "nan" (any case, signed)
/// are infinity and NaN, and an overflow gives plus or minus infinity.
double kratof(const BSX::BsxUnicodeString& text);
/// "%d" form of value
bool NumberToString(int value, BSX::BsxUnicodeString& text);

} // namespace KRN
