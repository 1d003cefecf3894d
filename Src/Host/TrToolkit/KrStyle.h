#pragma once
// 3D drawing style of the host toolkit: altitude, marker, icon, fill, line and model properties.
#include "BsxUnicodeString.h"
#include "KrColorValue3D.h"

namespace KRN {

/// How a feature's altitude is measured
enum AltitudeMode : int {
    ALTITUDE_CLAMP_TO_GROUND = 0,    ///< on the terrain
    ALTITUDE_RELATIVE_TO_GROUND = 1, ///< above the terrain
    ALTITUDE_ABSOLUTE = 2,           ///< above the ellipsoid
};

/// How a marker faces the viewer
enum KrBillBoardMode : int {
    BILLBOARD_NONE = 0,   ///< fixed in the scene
    BILLBOARD_SCREEN = 1, ///< always facing the screen
    BILLBOARD_AXIS = 2,   ///< turning about the vertical axis
};

/// How a polygon is filled in 3D
enum KrFill3DMode : int {
    FILL3D_NONE = 0,    ///< outline only
    FILL3D_SURFACE = 1, ///< a flat surface
    FILL3D_EXTRUDE = 2, ///< extruded by the extend height
};

/// 3D drawing style: altitude, marker, icon, fill, line and model properties
class KrStyle {
public:
    /// Every property at its default
    KrStyle() = default;

    /// Altitude mode, bottom altitude and extrusion height
    ///@{
    AltitudeMode GetAltitudeMode() const { return m_altitudeMode; }
    void SetAltitudeMode(const AltitudeMode& v) { m_altitudeMode = v; }
    float GetBottomAltitude() const { return m_bottomAltitude; }
    void SetBottomAltitude(const float& v) { m_bottomAltitude = v; }
    float GetExtendHeight() const { return m_extendHeight; }
    void SetExtendHeight(const float& v) { m_extendHeight = v; }
    ///@}

    /// Marker: style, 3D model flag, icon file and scale, colour, billboarding, model scale and rotation
    ///@{
    int GetMarkerStyle() const { return m_markerStyle; }
    void SetMarkerStyle(int v) { m_markerStyle = v; }
    bool IsMarker3D() const { return m_marker3D; }
    void SetMarker3D(bool v) { m_marker3D = v; }
    const BSX::BsxUnicodeString& GetIconName() const { return m_iconName; }
    void SetIconName(const BSX::BsxUnicodeString& v) { m_iconName = v; }
    float GetIconScale() const { return m_iconScale; }
    void SetIconScale(const float& v) { m_iconScale = v; }
    const KrColorValue3D& GetPointColor() const { return m_pointColor; }
    void SetPointColor(const KrColorValue3D& v) { m_pointColor = v; }
    KrBillBoardMode GetBillBoardMode() const { return m_billBoardMode; }
    void SetBillBoardMode(const KrBillBoardMode& v) { m_billBoardMode = v; }
    double GetMarker3DScaleX() const { return m_scaleX; }
    double GetMarker3DScaleY() const { return m_scaleY; }
    double GetMarker3DScaleZ() const { return m_scaleZ; }
    void SetMarker3DScaleX(const double& v) { m_scaleX = v; }
    void SetMarker3DScaleY(const double& v) { m_scaleY = v; }
    void SetMarker3DScaleZ(const double& v) { m_scaleZ = v; }
    double GetMarker3DRotateX() const { return m_rotateX; }
    double GetMarker3DRotateY() const { return m_rotateY; }
    double GetMarker3DRotateZ() const { return m_rotateZ; }
    void SetMarker3DRotateX(const double& v) { m_rotateX = v; }
    void SetMarker3DRotateY(const double& v) { m_rotateY = v; }
    void SetMarker3DRotateZ(const double& v) { m_rotateZ = v; }
    ///@}

    /// Fill: style, colour and 3D mode
    ///@{
    int GetFillStyle() const { return m_fillStyle; }
    void SetFillStyle(int v) { m_fillStyle = v; }
    const KrColorValue3D& GetFillColor() const { return m_fillColor; }
    void SetFillColor(const KrColorValue3D& v) { m_fillColor = v; }
    KrFill3DMode GetFill3DMode() const { return m_fill3DMode; }
    void SetFill3DMode(const KrFill3DMode& v) { m_fill3DMode = v; }
    ///@}

    /// Line: style, width and colour
    ///@{
    int GetLineStyle() const { return m_lineStyle; }
    void SetLineStyle(int v) { m_lineStyle = v; }
    double GetLineWidth() const { return m_lineWidth; }
    void SetLineWidth(double v) { m_lineWidth = v; }
    const KrColorValue3D& GetLineColor3D() const { return m_lineColor; }
    void SetLineColor3D(const KrColorValue3D& v) { m_lineColor = v; }
    ///@}

    /// The style as an element named elementName ("tdx:Style" when empty); every property
    /// is written so that FromXML gives back an equal style
    BSX::BsxUnicodeString ToXML(int version, const BSX::BsxUnicodeString& elementName = BSX::BsxUnicodeString()) const;
    /// Reads a style element of any name; properties it lacks take their defaults.
    /// False, and the style unchanged, when the text is not a well-formed element.
    bool FromXML(const BSX::BsxUnicodeString& xml, int version);

    /// Property-by-property comparison
    ///@{
    friend bool operator==(const KrStyle& a, const KrStyle& b);
    friend bool operator!=(const KrStyle& a, const KrStyle& b) { return !(a == b); }
    ///@}

    /// Calls f(elementName, member) for every property, in document order
    template <class S, class F>
    static void VisitProperties(S& s, F&& f)
    {
        f(L"tdx:AltitudeMode", s.m_altitudeMode);
        f(L"tdx:BottomAltitude", s.m_bottomAltitude);
        f(L"tdx:ExtendHeight", s.m_extendHeight);
        f(L"tdx:MarkerStyle", s.m_markerStyle);
        f(L"tdx:Marker3D", s.m_marker3D);
        f(L"tdx:IconName", s.m_iconName);
        f(L"tdx:IconScale", s.m_iconScale);
        f(L"tdx:PointColor", s.m_pointColor);
        f(L"tdx:BillBoardMode", s.m_billBoardMode);
        f(L"tdx:Marker3DScaleX", s.m_scaleX);
        f(L"tdx:Marker3DScaleY", s.m_scaleY);
        f(L"tdx:Marker3DScaleZ", s.m_scaleZ);
        f(L"tdx:Marker3DRotateX", s.m_rotateX);
        f(L"tdx:Marker3DRotateY", s.m_rotateY);
        f(L"tdx:Marker3DRotateZ", s.m_rotateZ);
        f(L"tdx:FillStyle", s.m_fillStyle);
        f(L"tdx:FillColor", s.m_fillColor);
        f(L"tdx:Fill3DMode", s.m_fill3DMode);
        f(L"tdx:LineStyle", s.m_lineStyle);
        f(L"tdx:LineWidth", s.m_lineWidth);
        f(L"tdx:LineColor3D", s.m_lineColor);
    }

private:
    AltitudeMode m_altitudeMode = ALTITUDE_CLAMP_TO_GROUND;
    float m_bottomAltitude = 0.0f;
    float m_extendHeight = 0.0f;
    int m_markerStyle = 0;
    bool m_marker3D = false;
    BSX::BsxUnicodeString m_iconName;
    float m_iconScale = 1.0f;
    KrColorValue3D m_pointColor{1.0, 1.0, 1.0, 1.0};
    KrBillBoardMode m_billBoardMode = BILLBOARD_NONE;
    double m_scaleX = 1.0, m_scaleY = 1.0, m_scaleZ = 1.0;
    double m_rotateX = 0.0, m_rotateY = 0.0, m_rotateZ = 0.0;
    int m_fillStyle = 0;
    KrColorValue3D m_fillColor{1.0, 1.0, 1.0, 1.0};
    KrFill3DMode m_fill3DMode = FILL3D_NONE;
    int m_lineStyle = 0;
    double m_lineWidth = 1.0;
    KrColorValue3D m_lineColor{0.0, 0.0, 0.0, 1.0};
};

} // namespace KRN
