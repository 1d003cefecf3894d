// Any text as a number format, set through SetNumFormat and stored unchecked through a
// document, then used to format a value taken from the input's first bytes.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "BsxUnicodeString.h"
#include "BsxVariant.h"
#include "FuzzCheck.h"
#include "KrLogFile.h"
#include "KrMarkup.h"
#include "KrTheme3DLabel.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    double value = -1234.5678e-3;
    if (size >= sizeof value) {
        std::memcpy(&value, data, sizeof value);
        data += sizeof value;
        size -= sizeof value;
    }
    const BSX::BsxUnicodeString format =
        BSX::BsxUnicodeString::FromUtf8(std::string(reinterpret_cast<const char*>(data), size));

    // Whatever the width or precision a format asks for, a label stays about as long as the
    // format's own text plus the digits of a double
    const int bound = format.GetLength() + 1024;
    KRN::KrTheme3DLabel label;
    label.SetNumFormat(format);
    FuzzCheck::Require(label.GetStringFromVariant(BSX::BsxVariant(value)).GetLength() <= bound, "label text out of bounds");
    label.GetStringFromVariant(BSX::BsxVariant(static_cast<float>(value)));

    // The base part of a label document followed by the format as its only own element
    KRN::KrMarkup doc(label.KrTheme3D::ToXML(0, BSX::BsxUnicodeString()).Cstr());
    if (doc.FindElem(L"tdx:Theme3D")) {
        doc.AddElem(L"tdx:NumFormat", format.Cstr(), false, true);
        KRN::KrTheme3DLabel stored;
        stored.FromXML(doc.GetDoc(), 0, BSX::BsxUnicodeString());
        FuzzCheck::Require(stored.GetStringFromVariant(BSX::BsxVariant(value)).GetLength() <= bound, "label text out of bounds");
        stored.GetStringFromVariant(BSX::BsxVariant(static_cast<float>(value)));
    }
    KRN::KrLogFile::GetInstance(false)->ClearRecords();
    return 0;
}
