#include "KrGeometryManager.h"

#include <map>

#include "KrGeoCompound.h"
#include "KrGeoCylinder.h"
#include "KrGeoPieCylinder.h"

namespace KRN {

namespace {
// Remaining creations per kind; a kind without an entry is unlimited
std::map<int, int>& Allowances()
{
    static std::map<int, int> allowances;
    return allowances;
}

bool TakeAllowance(int kind)
{
    auto& allowances = Allowances();
    auto it = allowances.find(kind);
    if (it == allowances.end()) return true;
    if (it->second <= 0) return false;
    --it->second;
    return true;
}
} // namespace

KrGeometry* KrGeometryManager::CreateGeometry(int kind)
{
    switch (kind) {
    case KrGeometry::GEO_COMPOUND: return TakeAllowance(kind) ? new KrGeoCompound : nullptr;
    case KrGeometry::GEO_CYLINDER: return TakeAllowance(kind) ? new KrGeoCylinder : nullptr;
    case KrGeometry::GEO_PIECYLINDER: return TakeAllowance(kind) ? new KrGeoPieCylinder : nullptr;
    default: return nullptr;
    }
}

void KrGeometryManager::SetAllowance(int kind, int count)
{
    if (count < 0) Allowances().erase(kind);
    else Allowances()[kind] = count;
}

void KrGeometryManager::ResetAllowances() { Allowances().clear(); }

} // namespace KRN
