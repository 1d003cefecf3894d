#pragma once
// One entry of a unique, range or label theme: visibility, caption, style, text style and
// modelling flag. Themes hold items by pointer and own them.
#include "BsxUnicodeString.h"
#include "KrStyle.h"
#include "KrTextStyle.h"
#include "Theme3DBaseExport.h"

namespace KRN {

/// One entry of a unique, range or label theme; a theme keeps its own copy of every item
class TR_THEME3D_API KrTheme3DItem {
public:
    /// A visible item with default styles and an empty caption, and copies of items
    ///@{
    KrTheme3DItem();
    KrTheme3DItem(const KrTheme3DItem& other);
    KrTheme3DItem& operator=(const KrTheme3DItem& other);
    ///@}
    /// Nothing beyond the members
    virtual ~KrTheme3DItem();

    bool Visible = true;                  ///< an invisible item makes its lookups answer null
    BSX::BsxUnicodeString Caption;        ///< text shown in legends
    KrStyle Style;                        ///< style answered for matching values
    KrTextStyle TextStyle;                ///< text style of the label kind's items
    bool ModellingStyleEnabled = false;   ///< answered by IsModellingStyleEnabled for matching values
};

} // namespace KRN
