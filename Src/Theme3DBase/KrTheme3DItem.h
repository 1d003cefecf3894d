#pragma once
// One entry of a unique, range or label theme: visibility, caption, style, text style and
// modelling flag. Themes hold items by pointer and own them.
#include "BsxUnicodeString.h"
#include "KrStyle.h"
#include "KrTextStyle.h"
#include "Theme3DBaseExport.h"

namespace KRN {

class TR_THEME3D_API KrTheme3DItem {
public:
    KrTheme3DItem();
    KrTheme3DItem(const KrTheme3DItem& other);
    KrTheme3DItem& operator=(const KrTheme3DItem& other);
    virtual ~KrTheme3DItem();

    bool Visible = true;
    BSX::BsxUnicodeString Caption;
    KrStyle Style;
    KrTextStyle TextStyle;
    bool ModellingStyleEnabled = false;
};

} // namespace KRN
