#pragma once
// Text standing in the scene: a text style and lines, each anchored at a point.
#include <cstddef>
#include <vector>

#include "BsxGeometry.h"
#include "KrGeometry.h"
#include "KrSubText3D.h"
#include "KrTextStyle.h"

namespace KRN {

/// Text standing in the scene: a text style and lines, each anchored at a point
class KrGeoText3D : public KrGeometry {
public:
    /// An empty text (kind 1212)
    KrGeoText3D();

    /// Copies the style and count points and lines; a null array or a count below 1 makes an
    /// empty text and answers false
    bool Make(const KrTextStyle& style, const BSX::BsxPoint3D* points, const KrSubText3D* lines, int count);

    /// The text style Make copied
    const KrTextStyle& GetTextStyle() const { return m_textStyle; }
    /// Number of lines
    int GetCount() const { return static_cast<int>(m_lines.size()); }
    /// Point and line at index (index inside [0, GetCount()))
    ///@{
    const BSX::BsxPoint3D& GetPoint(int index) const { return m_points.at(static_cast<std::size_t>(index)); }
    const KrSubText3D& GetSubText(int index) const { return m_lines.at(static_cast<std::size_t>(index)); }
    ///@}

private:
    KrTextStyle m_textStyle;
    std::vector<BSX::BsxPoint3D> m_points;
    std::vector<KrSubText3D> m_lines;
};

} // namespace KRN
