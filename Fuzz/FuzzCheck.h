// Checks shared by the fuzz targets: a failed property prints both texts and aborts, which
// libFuzzer records as a crash with its input.
#pragma once

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

} // namespace FuzzCheck
