#pragma once
// String that loads the host's resource texts by id.
#include "BsxUnicodeString.h"

namespace KRN {

/// String that loads the host's resource texts by id
class KrStringEx : public BSX::BsxUnicodeString {
public:
    /// An empty string
    KrStringEx() = default;
    /// Fills the string with the resource text of id; false (and empty) when there is none
    bool LoadResString(const BSX::BsxUnicodeString& id);
};

} // namespace KRN
