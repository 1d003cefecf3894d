#pragma once
// One line of a 3D text.
#include "BsxUnicodeString.h"

namespace KRN {

/// One line of a 3D text
class KrSubText3D {
public:
    /// An empty line
    KrSubText3D() = default;

    /// The line's text
    ///@{
    void SetText(const BSX::BsxUnicodeString& text) { m_text = text; }
    const BSX::BsxUnicodeString& GetText() const { return m_text; }
    ///@}

private:
    BSX::BsxUnicodeString m_text;
};

} // namespace KRN
