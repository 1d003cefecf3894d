#pragma once
// String that loads the host's resource texts by id.
#include "BsxUnicodeString.h"

namespace KRN {

class KrStringEx : public BSX::BsxUnicodeString {
public:
    KrStringEx() = default;
    // Fills the string with the resource text of id; false (and empty) when there is none
    bool LoadResString(const BSX::BsxUnicodeString& id);
};

} // namespace KRN
