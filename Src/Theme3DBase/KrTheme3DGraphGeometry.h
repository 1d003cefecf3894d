#pragma once
// Chart geometry of the graph theme: the solids and texts of one feature's chart, built from the
// theme's sums, sizes, text settings and charts as they stand when it is drawn.
#include "BsxGeometry.h"
#include "BsxUnicodeString.h"

namespace KRN {

class KrGeoCompound;
class KrGeometry;
class KrTheme3DGraph;

/// Builds one feature's chart from a graph theme, which it reads and never changes
class KrTheme3DGraphGeometry {
public:
    /// Written over every value that is not positive, and added to a total that counts as zero
    static constexpr double kReplacement = 0.001;
    /// A feature's total and where it stands on the graduated scale between the layer's totals
    struct Scale {
        double total = 0.0;
        double top = 0.0;
        double bottom = 0.0;
        double scaled = 0.0;
    };

    explicit KrTheme3DGraphGeometry(const KrTheme3DGraph& theme) : m_theme(theme) {}

    /// Total of count values and its scale by the theme's graduated mode
    Scale ScaleOf(const double* values, unsigned int count) const;
    /// Distance between neighbouring bars of a given width, in degrees of longitude at a latitude
    static double BarSpacingDegrees(double barWidth, double latitude);

    /// Chart builders: a compound of one solid (and text) per positive value, null when the
    /// host gives no compound or a bar would have no height; values that are not positive are
    /// overwritten with replacement
    ///@{
    KrGeometry* Bars(double* values, unsigned int count, const BSX::BsxPoint3D& position, const Scale& scale,
                     double replacement) const;
    KrGeometry* StackedBars(double* values, unsigned int count, const BSX::BsxPoint3D& position, const Scale& scale,
                            double replacement) const;
    KrGeometry* Pie(double* values, unsigned int count, const BSX::BsxPoint3D& position, const Scale& scale,
                    double replacement) const;
    ///@}
    /// Text of item index for its value and the chart total, by the theme's item text format
    BSX::BsxUnicodeString ItemText(double value, int index, double total) const;

private:
    /// Chart height for the scaled total between the scale's ends
    double InterpolatedSize(const Scale& scale) const;
    /// Adds the item text of item index at point to the compound
    void AddItemText(KrGeoCompound& compound, double value, int index, double total, const BSX::BsxPoint3D& point) const;

    const KrTheme3DGraph& m_theme;
};

} // namespace KRN
