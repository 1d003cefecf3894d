#include "KrGeoCylinder.h"

namespace KRN {

KrGeoCylinder::KrGeoCylinder() : KrGeometry(GEO_CYLINDER) {}

bool KrGeoCylinder::Make(const BSX::BsxPoint3D& centre, double bottomRadius, double topRadius, double height)
{
    m_centre = centre;
    m_bottomRadius = bottomRadius;
    m_topRadius = topRadius;
    m_height = height;
    m_made = true;
    return true;
}

} // namespace KRN
