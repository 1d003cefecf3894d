// A label theme read from any text, then written, read back and asked for the label of a double.
#include <cstddef>
#include <cstdint>
#include <string>

#include "BsxUnicodeString.h"
#include "BsxVariant.h"
#include "FuzzCheck.h"
#include "KrTheme3DLabel.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    KRN::KrTheme3DLabel label;
    if (label.FromXML(BSX::BsxUnicodeString::FromUtf8(text), 0, BSX::BsxUnicodeString())) {
        const BSX::BsxUnicodeString first = label.ToXML(0, BSX::BsxUnicodeString());
        KRN::KrTheme3DLabel again;
        FuzzCheck::Require(again.FromXML(first, 0, BSX::BsxUnicodeString()), "a label theme refuses its own text");
        FuzzCheck::SameText(first, again.ToXML(0, BSX::BsxUnicodeString()), "label theme");
        FuzzCheck::Require(again.GetStringFromVariant(BSX::BsxVariant(3.25)) == label.GetStringFromVariant(BSX::BsxVariant(3.25)),
                           "a label theme formats differently after a round trip");
        again.GetStringFromVariant(BSX::BsxVariant(3.25));
        again.GetStringFromVariant(BSX::BsxVariant(-1.5f));
    }
    label.GetStringFromVariant(BSX::BsxVariant(1e308));
    return 0;
}
