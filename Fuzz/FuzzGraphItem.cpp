// A chart item read from any text, written and read back.
#include <cstddef>
#include <cstdint>
#include <string>

#include "BsxUnicodeString.h"
#include "Kr3DGraphItem.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    KRN::Kr3DGraphItem item;
    if (item.FromXML(BSX::BsxUnicodeString::FromUtf8(text), 0)) {
        KRN::Kr3DGraphItem again;
        again.FromXML(item.ToXML(0), 0);
    }
    return 0;
}
