#pragma once
// Exact text forms shared by the style and text-style documents (not part of the toolkit's API).
// A theme holds one style per entry, so these work on views and caller buffers: reading or
// writing a style makes no string of its own per property.
#include <cstddef>
#include <string_view>

#include "BsxUnicodeString.h"
#include "KrColorValue3D.h"

namespace KRN {
namespace StyleXml {

// Room for the longest text WriteReal and WriteColor write
constexpr size_t kRealChars = 32;
constexpr size_t kColorChars = 4 * kRealChars;

// Shortest text that reads back to the same double ("%.17g"), written to out; its length
size_t WriteReal(double value, wchar_t* out);
// The four components as reals, separated by commas
size_t WriteColor(const KrColorValue3D& c, wchar_t* out);
// Whole-text parses, up to a NUL as the C library reads; false leaves the output alone
bool ParseReal(std::wstring_view text, double& value);
bool ParseInt(std::wstring_view text, long long& value);
bool ParseColor(std::wstring_view text, KrColorValue3D& c);
inline const wchar_t* Bool(bool v) { return v ? L"TRUE" : L"FALSE"; }
// "TRUE" in any case
bool ParseBool(std::wstring_view text);

} // namespace StyleXml
} // namespace KRN
