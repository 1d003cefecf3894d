#pragma once
// Packed 32-bit colours: red in the low byte, then green, blue, and alpha in the top byte.
#include <cstdint>

namespace BSX {
using BsxColor = std::uint32_t;
}

#define BSXRGBA(r, g, b, a)                                                                  \
    (static_cast<BSX::BsxColor>((static_cast<std::uint32_t>(r) & 0xFFu) |                    \
                                ((static_cast<std::uint32_t>(g) & 0xFFu) << 8) |             \
                                ((static_cast<std::uint32_t>(b) & 0xFFu) << 16) |            \
                                ((static_cast<std::uint32_t>(a) & 0xFFu) << 24)))
// An RGB colour is opaque
#define BSXRGB(r, g, b) BSXRGBA(r, g, b, 255)
#define BSXREDVAL(c) (static_cast<std::uint32_t>(c) & 0xFFu)
#define BSXGREENVAL(c) ((static_cast<std::uint32_t>(c) >> 8) & 0xFFu)
#define BSXBLUEVAL(c) ((static_cast<std::uint32_t>(c) >> 16) & 0xFFu)
#define BSXALPHAVAL(c) ((static_cast<std::uint32_t>(c) >> 24) & 0xFFu)
