#include "KrGeoText3D.h"

namespace KRN {

KrGeoText3D::KrGeoText3D() : KrGeometry(GEO_TEXT3D) {}

bool KrGeoText3D::Make(const KrTextStyle& style, const BSX::BsxPoint3D* points, const KrSubText3D* lines, int count)
{
    m_textStyle = style;
    m_points.clear();
    m_lines.clear();
    if (!points || !lines || count < 1) return false;
    m_points.assign(points, points + count);
    m_lines.assign(lines, lines + count);
    return true;
}

} // namespace KRN
