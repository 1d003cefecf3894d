#pragma once
// One line of a 3D text.
#include "BsxUnicodeString.h"

namespace KRN {

class KrSubText3D {
public:
    KrSubText3D() = default;

    void SetText(const BSX::BsxUnicodeString& text) { m_text = text; }
    const BSX::BsxUnicodeString& GetText() const { return m_text; }

private:
    BSX::BsxUnicodeString m_text;
};

} // namespace KRN
