#pragma once
// An upright cylinder (or truncated cone) standing on its base centre; lengths in metres,
// the centre geographic (x longitude, y latitude in degrees, z height in metres).
#include "BsxGeometry.h"
#include "KrGeometry.h"

namespace KRN {

/// An upright cylinder (or truncated cone) standing on its base centre; lengths in metres
class KrGeoCylinder : public KrGeometry {
public:
    /// A cylinder not made yet (kind 1206)
    KrGeoCylinder();

    /// Base centre, bottom radius, top radius, height
    bool Make(const BSX::BsxPoint3D& centre, double bottomRadius, double topRadius, double height);

    /// What Make was given
    ///@{
    const BSX::BsxPoint3D& GetCentre() const { return m_centre; }
    double GetBottomRadius() const { return m_bottomRadius; }
    double GetTopRadius() const { return m_topRadius; }
    double GetHeight() const { return m_height; }
    ///@}
    /// Whether Make has been called
    bool IsMade() const { return m_made; }

private:
    BSX::BsxPoint3D m_centre;
    double m_bottomRadius = 0.0;
    double m_topRadius = 0.0;
    double m_height = 0.0;
    bool m_made = false;
};

} // namespace KRN
