// Checks shared by the fuzz targets: a failed property prints both texts and aborts, which
// libFuzzer records as a crash with its input.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "BsxUnicodeString.h"

namespace FuzzCheck {

// A document written from what was read must read back into a theme that writes the same text
inline void SameText(const BSX::BsxUnicodeString& first, const BSX::BsxUnicodeString& second, const char* what)
{
    if (first == second) return;
    std::fprintf(stderr, "%s: the second text differs from the first\n--- first\n%s\n--- second\n%s\n", what,
                 first.ToUtf8().c_str(), second.ToUtf8().c_str());
    std::abort();
}

inline void Require(bool condition, const char* what)
{
    if (condition) return;
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

// The unique, range and custom targets' input: the first byte picks the revision (and, with
// externalMode, the external-value mode), the rest is a theme document. The theme read from it
// is written, and the text must read into `again` writing the same text. False: no input at all
template <class Theme>
bool ReadWrittenAgain(const std::uint8_t* data, std::size_t size, const wchar_t* dir, const char* what, Theme& again,
                      bool externalMode)
{
    if (size < 1) return false;
    const int versions[] = {0, 20090106, 20120328, 1};
    const int version = versions[data[0] % 4];
    Theme theme;
    if (externalMode) theme.SetExternalValueMode(data[0] / 4 % 3);
    theme.FromXML(BSX::BsxUnicodeString::FromUtf8(std::string(reinterpret_cast<const char*>(data) + 1, size - 1)), version, dir);
    const BSX::BsxUnicodeString first = theme.ToXML(version, dir);
    again.FromXML(first, version, dir);
    SameText(first, again.ToXML(version, dir), what);
    return true;
}

} // namespace FuzzCheck
