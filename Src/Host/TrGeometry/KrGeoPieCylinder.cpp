#include "KrGeoPieCylinder.h"

namespace KRN {

KrGeoPieCylinder::KrGeoPieCylinder() : KrGeometry(GEO_PIECYLINDER) {}

bool KrGeoPieCylinder::Make(const BSX::BsxPoint3D& centre, double radiusX, double radiusY, double sweep,
                            double startAngle, double endAngle, double height)
{
    m_centre = centre;
    m_radiusX = radiusX;
    m_radiusY = radiusY;
    m_sweep = sweep;
    m_startAngle = startAngle;
    m_endAngle = endAngle;
    m_height = height;
    m_made = true;
    return true;
}

} // namespace KRN
