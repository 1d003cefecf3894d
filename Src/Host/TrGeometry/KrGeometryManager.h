#pragma once
// The host's geometry factory: creates an empty geometry of a kind by its code.
#include "KrGeometry.h"

namespace KRN {

/// The host's geometry factory: creates an empty geometry of a kind by its code
class KrGeometryManager {
public:
    /// A new geometry of that kind (compound 1000, cylinder 1206, pie cylinder 1211), owned by
    /// the caller; null for any other kind or when the kind's allowance is used up
    static KrGeometry* CreateGeometry(int kind);

    /// For tests and hosts that simulate a factory running dry: after this call the kind is
    /// given at most count more times (a negative count lifts the limit again)
    static void SetAllowance(int kind, int count);
    /// Lifts every limit
    static void ResetAllowances();
};

} // namespace KRN
