#pragma once
// Exact text forms shared by the style and text-style documents (not part of the toolkit's API).
#include "BsxUnicodeString.h"
#include "KrColorValue3D.h"

namespace KRN {
namespace StyleXml {

// Shortest text that reads back to the same double ("%.17g")
BSX::BsxUnicodeString Real(double value);
BSX::BsxUnicodeString Color(const KrColorValue3D& c);
// Whole-text parses; false leaves the output alone
bool ParseReal(const BSX::BsxUnicodeString& text, double& value);
bool ParseInt(const BSX::BsxUnicodeString& text, long long& value);
bool ParseColor(const BSX::BsxUnicodeString& text, KrColorValue3D& c);
inline const wchar_t* Bool(bool v) { return v ? L"TRUE" : L"FALSE"; }
inline bool ParseBool(const BSX::BsxUnicodeString& text) { return text.CompareNoCase(L"TRUE") == 0; }

} // namespace StyleXml
} // namespace KRN
