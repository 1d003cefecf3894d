#pragma once
// Text-to-number conversions of the host toolkit.
#include "BsxUnicodeString.h"

namespace KRN {

// Leading decimal integer (after white space), saturated to the int range; 0 when there is none
int kratoi(const BSX::BsxUnicodeString& text);
// Leading real number (after white space); 0 when there is none or it is NaN. An overflow gives
// plus or minus infinity, as the C library does.
double kratof(const BSX::BsxUnicodeString& text);
// "%d" form of value
bool NumberToString(int value, BSX::BsxUnicodeString& text);

} // namespace KRN
