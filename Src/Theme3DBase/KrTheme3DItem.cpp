#include "KrTheme3DItem.h"

namespace KRN {

KrTheme3DItem::KrTheme3DItem() = default;

KrTheme3DItem::KrTheme3DItem(const KrTheme3DItem& other) { *this = other; }

KrTheme3DItem& KrTheme3DItem::operator=(const KrTheme3DItem& other)
{
    if (this != &other) {
        Visible = other.Visible;
        Caption = other.Caption;
        Style = other.Style;
        TextStyle = other.TextStyle;
        ModellingStyleEnabled = other.ModellingStyleEnabled;
    }
    return *this;
}

KrTheme3DItem::~KrTheme3DItem() = default;

} // namespace KRN
