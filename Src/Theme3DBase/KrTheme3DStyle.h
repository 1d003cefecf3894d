#pragma once
// Base of the kinds that answer a style for a feature or a value (unique, range, custom).
#include "KrTheme3D.h"
#include "Theme3DBaseExport.h"

namespace KRN {

/// Base of the kinds that answer a style for a feature or a value (unique, range, custom)
class TR_THEME3D_API KrTheme3DStyle : public KrTheme3D {
public:
    /// The base state only: construction and copies
    ///@{
    KrTheme3DStyle();
    KrTheme3DStyle(const KrTheme3DStyle& other);
    KrTheme3DStyle& operator=(const KrTheme3DStyle& other);
    ///@}
    /// Nothing of its own to release
    ~KrTheme3DStyle() override;
};

} // namespace KRN
