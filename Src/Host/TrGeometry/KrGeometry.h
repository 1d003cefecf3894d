#pragma once
// Base class of the host's 2D and 3D geometries.
#include "BsxGeometry.h"

namespace KRN {

class KrStyle;

class KrGeometry {
public:
    // Geometry kind codes of the host
    enum Type : int {
        GEO_UNKNOWN = 0,
        GEO_POINT = 1,
        GEO_LINE = 3,
        GEO_REGION = 5,
        GEO_POINT3D = 101,
        GEO_LINE3D = 103,
        GEO_REGION3D = 105,
        GEO_COMPOUND = 1000,
        GEO_MODEL = 1201,
        GEO_CYLINDER = 1206,
        GEO_PIECYLINDER = 1211,
        GEO_TEXT3D = 1212,
    };

    explicit KrGeometry(int type = GEO_UNKNOWN) : m_type(type) {}
    virtual ~KrGeometry();

    int GetType() const { return m_type; }
    // Style the geometry is drawn with (a copy is kept); null clears it
    virtual void SetStyle(const KrStyle* style);
    const KrStyle* GetStyle() const;
    // Moves the geometry in the plane
    virtual void Offset(double dx, double dy);
    double GetOffsetX() const { return m_offsetX; }
    double GetOffsetY() const { return m_offsetY; }

protected:
    KrGeometry(const KrGeometry& other);
    KrGeometry& operator=(const KrGeometry& other);

private:
    int m_type;
    KrStyle* m_style = nullptr;
    double m_offsetX = 0.0;
    double m_offsetY = 0.0;
};

} // namespace KRN
