// A chart item read from any text, written and read back.
#include <cstddef>
#include <cstdint>
#include <string>

#include "BsxUnicodeString.h"
#include "FuzzCheck.h"
#include "Kr3DGraphItem.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    KRN::Kr3DGraphItem item;
    const int versions[] = {0, 20031211, 20031212, 20090106, 20120328, 1};
    const int version = size > 0 ? versions[data[0] % 6] : 0;
    item.FromXML(BSX::BsxUnicodeString::FromUtf8(text), version);
    // The item writes the current revision whatever revision it was read from
    const BSX::BsxUnicodeString first = item.ToXML(0);
    KRN::Kr3DGraphItem again;
    FuzzCheck::Require(again.FromXML(first, 0), "a chart item refuses its own text");
    FuzzCheck::SameText(first, again.ToXML(0), "chart item");
    return 0;
}
