#include "KrTheme3DStyle.h"

namespace KRN {

KrTheme3DStyle::KrTheme3DStyle() = default;
KrTheme3DStyle::KrTheme3DStyle(const KrTheme3DStyle& other) = default;
KrTheme3DStyle& KrTheme3DStyle::operator=(const KrTheme3DStyle& other) = default;
KrTheme3DStyle::~KrTheme3DStyle() = default;

} // namespace KRN
