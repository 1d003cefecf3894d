#include "KrStyle.h"

#include <limits>

#include "KrMarkup.h"
#include "KrStylePropertyIo.h"

namespace KRN {

BSX::BsxUnicodeString KrStyle::ToXML(int, const BSX::BsxUnicodeString& elementName) const
{
    return StyleXml::WriteProperties(*this, elementName.IsEmpty() ? L"tdx:Style" : elementName.Cstr());
}

bool KrStyle::FromXML(const BSX::BsxUnicodeString& xml, int) { return StyleXml::ReadProperties(xml, *this); }

bool operator==(const KrStyle& a, const KrStyle& b)
{
    return a.m_altitudeMode == b.m_altitudeMode && a.m_bottomAltitude == b.m_bottomAltitude &&
           a.m_extendHeight == b.m_extendHeight && a.m_markerStyle == b.m_markerStyle && a.m_marker3D == b.m_marker3D &&
           a.m_iconName == b.m_iconName && a.m_iconScale == b.m_iconScale && a.m_pointColor == b.m_pointColor &&
           a.m_billBoardMode == b.m_billBoardMode && a.m_scaleX == b.m_scaleX && a.m_scaleY == b.m_scaleY &&
           a.m_scaleZ == b.m_scaleZ && a.m_rotateX == b.m_rotateX && a.m_rotateY == b.m_rotateY &&
           a.m_rotateZ == b.m_rotateZ && a.m_fillStyle == b.m_fillStyle && a.m_fillColor == b.m_fillColor &&
           a.m_fill3DMode == b.m_fill3DMode && a.m_lineStyle == b.m_lineStyle && a.m_lineWidth == b.m_lineWidth &&
           a.m_lineColor == b.m_lineColor;
}

} // namespace KRN
