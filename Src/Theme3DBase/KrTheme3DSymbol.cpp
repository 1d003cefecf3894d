#include "KrTheme3DSymbol.h"

namespace KRN {

KrTheme3DSymbol::KrTheme3DSymbol() = default;
KrTheme3DSymbol::KrTheme3DSymbol(const KrTheme3DSymbol& other) = default;
KrTheme3DSymbol& KrTheme3DSymbol::operator=(const KrTheme3DSymbol& other) = default;
KrTheme3DSymbol::~KrTheme3DSymbol() = default;

bool KrTheme3DSymbol::GetThemeQueryDef(BSX::BsxArray<BSX::BsxUnicodeString>&, bool) { return false; }
KrGeometry* KrTheme3DSymbol::ConvertToGeometry(double*, unsigned int, const BSX::BsxPoint3D&) { return nullptr; }
void KrTheme3DSymbol::Attach(double*, int) {}

} // namespace KRN
