#include "KrGeometry.h"

#include "KrStyle.h"

namespace KRN {

KrGeometry::KrGeometry(const KrGeometry& other)
    : m_type(other.m_type), m_style(other.m_style ? new KrStyle(*other.m_style) : nullptr),
      m_offsetX(other.m_offsetX), m_offsetY(other.m_offsetY)
{
}

KrGeometry::~KrGeometry() { delete m_style; }

KrGeometry& KrGeometry::operator=(const KrGeometry& other)
{
    if (this != &other) {
        SetStyle(other.m_style);
        m_type = other.m_type;
        m_offsetX = other.m_offsetX;
        m_offsetY = other.m_offsetY;
    }
    return *this;
}

void KrGeometry::SetStyle(const KrStyle* style)
{
    KrStyle* copy = style ? new KrStyle(*style) : nullptr;
    delete m_style;
    m_style = copy;
}

const KrStyle* KrGeometry::GetStyle() const { return m_style; }

void KrGeometry::Offset(double dx, double dy)
{
    m_offsetX += dx;
    m_offsetY += dy;
}

} // namespace KRN
