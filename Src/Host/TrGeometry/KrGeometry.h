#pragma once
// Base class of the host's 2D and 3D geometries.
#include "BsxGeometry.h"

namespace KRN {

class KrStyle;

/// Base class of the host's 2D and 3D geometries
class KrGeometry {
public:
    /// Geometry kind codes of the host
    enum Type : int {
        GEO_UNKNOWN = 0,        ///< no kind
        GEO_POINT = 1,          ///< 2D point
        GEO_LINE = 3,           ///< 2D line
        GEO_REGION = 5,         ///< 2D polygon
        GEO_POINT3D = 101,      ///< 3D point
        GEO_LINE3D = 103,       ///< 3D line
        GEO_REGION3D = 105,     ///< 3D polygon
        GEO_COMPOUND = 1000,    ///< KrGeoCompound
        GEO_MODEL = 1201,       ///< 3D model
        GEO_CYLINDER = 1206,    ///< KrGeoCylinder
        GEO_PIECYLINDER = 1211, ///< KrGeoPieCylinder
        GEO_TEXT3D = 1212,      ///< KrGeoText3D
    };

    /// A geometry of the kind code
    explicit KrGeometry(int type = GEO_UNKNOWN) : m_type(type) {}
    /// Releases the style copy
    virtual ~KrGeometry();

    /// The kind code
    int GetType() const { return m_type; }
    /// Style the geometry is drawn with (a copy is kept); null clears it
    virtual void SetStyle(const KrStyle* style);
    /// The kept style copy, or null
    const KrStyle* GetStyle() const;
    /// Moves the geometry in the plane
    virtual void Offset(double dx, double dy);
    /// Total offset applied so far
    ///@{
    double GetOffsetX() const { return m_offsetX; }
    double GetOffsetY() const { return m_offsetY; }
    ///@}

protected:
    /// Copies the kind, style and offsets, for the kinds that can be copied
    ///@{
    KrGeometry(const KrGeometry& other);
    KrGeometry& operator=(const KrGeometry& other);
    ///@}

private:
    int m_type;
    KrStyle* m_style = nullptr;
    double m_offsetX = 0.0;
    double m_offsetY = 0.0;
};

} // namespace KRN
