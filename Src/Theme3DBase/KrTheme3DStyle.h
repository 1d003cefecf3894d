#pragma once
// Base of the kinds that answer a style for a feature or a value (unique, range, custom).
#include "KrTheme3D.h"
#include "Theme3DBaseExport.h"

namespace KRN {

class TR_THEME3D_API KrTheme3DStyle : public KrTheme3D {
public:
    KrTheme3DStyle();
    KrTheme3DStyle(const KrTheme3DStyle& other);
    KrTheme3DStyle& operator=(const KrTheme3DStyle& other);
    ~KrTheme3DStyle() override;
};

} // namespace KRN
