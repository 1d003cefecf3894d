#pragma once
// A slice of an upright elliptic cylinder, as a pie chart is drawn: the centre of its base,
// the two radii in metres, the sweep and the start and end angles in degrees (counter-clockwise
// from east), and the height in metres.
#include "BsxGeometry.h"
#include "KrGeometry.h"

namespace KRN {

/// A slice of an upright elliptic cylinder, as a pie chart is drawn; angles in degrees from east
class KrGeoPieCylinder : public KrGeometry {
public:
    /// A slice not made yet (kind 1211)
    KrGeoPieCylinder();

    /// Base centre, radius along x, radius along y, sweep, start angle, end angle, height
    bool Make(const BSX::BsxPoint3D& centre, double radiusX, double radiusY, double sweep, double startAngle,
              double endAngle, double height);

    /// What Make was given
    ///@{
    const BSX::BsxPoint3D& GetCentre() const { return m_centre; }
    double GetRadiusX() const { return m_radiusX; }
    double GetRadiusY() const { return m_radiusY; }
    double GetSweep() const { return m_sweep; }
    double GetStartAngle() const { return m_startAngle; }
    double GetEndAngle() const { return m_endAngle; }
    double GetHeight() const { return m_height; }
    ///@}
    /// Whether Make has been called
    bool IsMade() const { return m_made; }

private:
    BSX::BsxPoint3D m_centre;
    double m_radiusX = 0.0;
    double m_radiusY = 0.0;
    double m_sweep = 0.0;
    double m_startAngle = 0.0;
    double m_endAngle = 0.0;
    double m_height = 0.0;
    bool m_made = false;
};

} // namespace KRN
