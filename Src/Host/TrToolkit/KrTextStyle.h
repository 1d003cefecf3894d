#pragma once
// Text style of the host toolkit.
#include "BsxColor.h"
#include "BsxUnicodeString.h"

namespace KRN {

/// Text style: halo, size, colour, face, alignment and weight of label text
class KrTextStyle {
public:
    /// 12-point black text without a halo
    KrTextStyle() = default;

    /// Halo around the characters and its colour
    ///@{
    bool IsHalo() const { return m_halo; }
    void SetHalo(bool v) { m_halo = v; }
    BSX::BsxColor GetHaloColor() const { return m_haloColor; }
    void SetHaloColor(BSX::BsxColor v) { m_haloColor = v; }
    ///@}
    /// Font size, in points
    ///@{
    double GetSize() const { return m_size; }
    void SetSize(double v) { m_size = v; }
    ///@}
    /// Character height, in scene units
    ///@{
    double GetHeight() const { return m_height; }
    void SetHeight(double v) { m_height = v; }
    ///@}
    /// Colour of the characters
    ///@{
    BSX::BsxColor GetForeColor() const { return m_foreColor; }
    void SetForeColor(BSX::BsxColor v) { m_foreColor = v; }
    ///@}
    /// Font face name
    ///@{
    const BSX::BsxUnicodeString& GetFaceName() const { return m_faceName; }
    void SetFaceName(const BSX::BsxUnicodeString& v) { m_faceName = v; }
    ///@}
    /// Whether the text keeps its screen size at every distance
    ///@{
    bool IsFixedSize() const { return m_fixedSize; }
    void SetFixedSize(bool v) { m_fixedSize = v; }
    ///@}
    /// Alignment code: 0 to 8, left/centre/right by top/middle/bottom
    ///@{
    int GetAlign() const { return m_align; }
    void SetAlign(int v) { m_align = v; }
    ///@}
    /// Bold and italic
    ///@{
    bool IsBold() const { return m_bold; }
    void SetBold(bool v) { m_bold = v; }
    bool IsItalic() const { return m_italic; }
    void SetItalic(bool v) { m_italic = v; }
    ///@}

    /// A "tdx:TextStyle" element holding every property
    BSX::BsxUnicodeString ToXML(int version) const;
    /// Reads the content of a root element of any name; properties it lacks take their
    /// defaults. False, and the style unchanged, when the text is not a well-formed element.
    bool FromXML(const BSX::BsxUnicodeString& xml, int version);

    /// Property-by-property comparison
    ///@{
    friend bool operator==(const KrTextStyle& a, const KrTextStyle& b);
    friend bool operator!=(const KrTextStyle& a, const KrTextStyle& b) { return !(a == b); }
    ///@}

    /// Calls f(elementName, member) for every property, in document order
    template <class S, class F>
    static void VisitProperties(S& s, F&& f)
    {
        f(L"tdx:Halo", s.m_halo);
        f(L"tdx:HaloColor", s.m_haloColor);
        f(L"tdx:Size", s.m_size);
        f(L"tdx:Height", s.m_height);
        f(L"tdx:ForeColor", s.m_foreColor);
        f(L"tdx:FaceName", s.m_faceName);
        f(L"tdx:FixedSize", s.m_fixedSize);
        f(L"tdx:Align", s.m_align);
        f(L"tdx:Bold", s.m_bold);
        f(L"tdx:Italic", s.m_italic);
    }

private:
    bool m_halo = false;
    BSX::BsxColor m_haloColor = BSXRGB(0, 0, 0);
    double m_size = 12.0;
    double m_height = 10.0;
    BSX::BsxColor m_foreColor = BSXRGB(0, 0, 0);
    BSX::BsxUnicodeString m_faceName;
    bool m_fixedSize = false;
    int m_align = 0;
    bool m_bold = false;
    bool m_italic = false;
};

} // namespace KRN
