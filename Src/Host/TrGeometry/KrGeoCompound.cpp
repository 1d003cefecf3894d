#include "KrGeoCompound.h"

#include <cstddef>

namespace KRN {

KrGeoCompound::KrGeoCompound() : KrGeometry(GEO_COMPOUND) {}

KrGeoCompound::~KrGeoCompound()
{
    for (const Part& part : m_parts)
        if (part.owned) delete part.geometry;
}

void KrGeoCompound::AddCompound(KrGeometry* part, bool owned)
{
    if (!part) return;
    m_parts.push_back(Part{part, owned});
}

KrGeometry* KrGeoCompound::GetAt(int index) const
{
    if (index < 0 || index >= GetCount()) return nullptr;
    return m_parts[static_cast<std::size_t>(index)].geometry;
}

void KrGeoCompound::Offset(double dx, double dy)
{
    KrGeometry::Offset(dx, dy);
    for (const Part& part : m_parts) part.geometry->Offset(dx, dy);
}

} // namespace KRN
