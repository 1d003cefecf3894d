// Chart geometry of the graph theme: sums and default sizes for a layer, and the solids and
// texts of one feature's chart, built by a reader of the theme's sums, sizes, text settings and
// charts as they stand when it is drawn.
#include <cmath>
#include <cstdio>
#include <string>
#include <memory>

#include "KrGeoCompound.h"
#include "KrGeoCylinder.h"
#include "KrGeometryManager.h"
#include "KrGeoPieCylinder.h"
#include "KrGeoText3D.h"
#include "KrSubText3D.h"
#include "KrTheme3DGraph.h"
#include "KrThemeRules.h"

namespace KRN {

using BSX::BsxPoint3D;
using BSX::BsxUnicodeString;

namespace {
const double kNearZero = ThemeRules::kTolerance;
// Written over every value that is not positive, and added to a total that counts as zero
const double kReplacement = 0.001;
const double kDegToRad = 0.017453292519943295;
const double kEarthRadius = 6378137.0;
const double kEarthCircumference = 40075016.68557849;
const double kGlobeSquareDegrees = 64800.0;
const double kBarWidthDivisor = 50.0;
const double kHeightDivisor = 10.0;
const double kSqrt2 = 1.4142135623730951;
const double kPieGap = 2.0;
const double kSmallestSlice = 1.0;
const double kPieRadiusFactor = 0.25;

bool IsZero(double x) { return -kNearZero < x && x < kNearZero; }

// Metres along a parallel or meridian to degrees, at the equator's scale
double MetresToDegrees(double metres) { return metres * 360.0 / kEarthCircumference; }

// One number in a printf format, widened; texts are drawn per item of every feature, so this
// avoids the wide formatter. Formats here print at most the integer digits of a double, a
// point, five decimals and a sign, which the buffer holds.
BsxUnicodeString FormatNumber(const char* format, double value)
{
    char buffer[400];
    const int n = std::snprintf(buffer, sizeof buffer, format, value);
    if (n <= 0) return BsxUnicodeString();
    const size_t length = static_cast<size_t>(n) < sizeof buffer ? static_cast<size_t>(n) : sizeof buffer - 1;
    return BsxUnicodeString(std::wstring(buffer, buffer + length));
}

// "%.5f" text with trailing zeros, then trailing points, removed
BsxUnicodeString TrimmedValue(double value)
{
    BsxUnicodeString text = FormatNumber("%.5f", value);
    text.TrimRight(L'0');
    text.TrimRight(L'.');
    return text;
}

BsxUnicodeString Percent(double value, double total) { return FormatNumber("%.1f%%", value / total * 100.0); }

std::unique_ptr<KrGeoCompound> NewCompound()
{
    KrGeometry* geometry = KrGeometryManager::CreateGeometry(KrGeometry::GEO_COMPOUND);
    // A factory that answers another kind than asked for is treated as giving nothing
    if (geometry && geometry->GetType() != KrGeometry::GEO_COMPOUND) {
        delete geometry;
        geometry = nullptr;
    }
    return std::unique_ptr<KrGeoCompound>(static_cast<KrGeoCompound*>(geometry));
}

template <class Solid>
std::unique_ptr<Solid> NewSolid(int kind)
{
    KrGeometry* geometry = KrGeometryManager::CreateGeometry(kind);
    if (geometry && geometry->GetType() != kind) {
        delete geometry;
        geometry = nullptr;
    }
    return std::unique_ptr<Solid>(static_cast<Solid*>(geometry));
}

// Whether item i takes part: a value that is not positive (NaN included) is replaced in the
// caller's array and draws nothing
bool TakeValue(double* values, unsigned int i, double replacement)
{
    if (values[i] > 0.0) return true;
    values[i] = replacement;
    return false;
}

// Builds one feature's chart from a graph theme, which it reads and never changes
class ChartBuilder {
public:
    // A feature's total and where it stands on the graduated scale between the layer's totals
    struct Scale {
        double total = 0.0;
        double top = 0.0;
        double bottom = 0.0;
        double scaled = 0.0;
    };

    explicit ChartBuilder(const KrTheme3DGraph& theme) : m_theme(theme) {}

    // Total of count values and its scale by the theme's graduated mode
    Scale ScaleOf(const double* values, unsigned int count) const;
    // A compound of one solid (and text) per positive value; null when the host gives no
    // compound or a bar would have no height. Values that are not positive are overwritten.
    KrGeometry* Bars(double* values, unsigned int count, const BsxPoint3D& position, const Scale& scale,
                     double replacement) const;
    KrGeometry* StackedBars(double* values, unsigned int count, const BsxPoint3D& position, const Scale& scale,
                            double replacement) const;
    KrGeometry* Pie(double* values, unsigned int count, const BsxPoint3D& position, const Scale& scale,
                    double replacement) const;
    // Text of item index for its value and the chart total, by the theme's item text format
    BsxUnicodeString ItemText(double value, int index, double total) const;

private:
    double InterpolatedSize(const Scale& scale) const;
    void AddItemText(KrGeoCompound& compound, double value, int index, double total, const BsxPoint3D& point) const;

    const KrTheme3DGraph& m_theme;
};

} // namespace

ChartBuilder::Scale ChartBuilder::ScaleOf(const double* values, unsigned int count) const
{
    Scale s;
    for (unsigned int i = 0; i < count; ++i) s.total += values[i];
    if (IsZero(s.total)) s.total += kReplacement;
    s.top = m_theme.GetSqrtMaxSum();
    s.bottom = m_theme.GetSqrtMinSum();
    s.scaled = std::sqrt(s.total);
    if (m_theme.GetGraduatedMode() == KrTheme3DGraph::GraduatedConstant) {
        s.top = m_theme.GetMaxSum();
        s.bottom = m_theme.GetMinSum();
        s.scaled = s.total;
    } else if (m_theme.GetGraduatedMode() == KrTheme3DGraph::GraduatedLogarithm) {
        s.top = m_theme.GetLogMaxSum();
        s.bottom = m_theme.GetLogMinSum();
        s.scaled = std::log(s.total);
    }
    return s;
}

double ChartBuilder::InterpolatedSize(const Scale& scale) const
{
    double range = scale.top - scale.bottom;
    if (IsZero(range)) range = IsZero(scale.top) ? 1.0 : scale.top;
    const double maxH = m_theme.GetMaxSize().cy;
    const double minH = m_theme.GetMinSize().cy;
    return maxH - (maxH - minH) * (scale.top - scale.scaled) / range;
}

void ChartBuilder::AddItemText(KrGeoCompound& compound, double value, int index, double total,
                                         const BsxPoint3D& point) const
{
    BsxUnicodeString text = ItemText(value, index, total);
    if (!text.IsEmpty()) text.TrimRight(L'.');
    KrSubText3D line;
    line.SetText(text);
    auto geometry = std::make_unique<KrGeoText3D>();
    geometry->Make(m_theme.GetItemTextStyle(), &point, &line, 1);
    compound.AddCompound(geometry.release(), true);
}

KrGeometry* ChartBuilder::Bars(double* values, unsigned int count, const BsxPoint3D& position,
                                         const Scale& scale, double replacement) const
{
    std::unique_ptr<KrGeoCompound> compound = NewCompound();
    if (!compound) return nullptr;
    const double size = InterpolatedSize(scale);
    const double total = scale.total;
    const double spacing = m_theme.GetBarSpacingDegrees();
    // Centres the row of bars on the position
    const double shift = count == 0 ? 0.0 : (count - 1) * spacing * 0.5;
    const double radius = m_theme.GetBarWidth() * 0.5;
    for (unsigned int i = 0; i < count; ++i) {
        if (!TakeValue(values, i, replacement)) continue;
        const double height = values[i] / total * size;
        if (IsZero(height)) return nullptr;
        const double x = position.x + i * spacing;
        if (auto cylinder = NewSolid<KrGeoCylinder>(KrGeometry::GEO_CYLINDER)) {
            cylinder->Make(BsxPoint3D(x, position.y, position.z), radius, radius, height);
            cylinder->SetStyle(&m_theme.GetUpdateGraph().GetStyleAt(static_cast<int>(i)));
            cylinder->Offset(-shift, 0.0);
            compound->AddCompound(cylinder.release(), true);
        }
        // The text belongs to the value, so it stands even where the host gave no solid
        if (m_theme.IsShowItemText())
            AddItemText(*compound, values[i], static_cast<int>(i), total,
                        BsxPoint3D(x - shift, position.y, position.z + height));
    }
    return compound.release();
}

KrGeometry* ChartBuilder::StackedBars(double* values, unsigned int count, const BsxPoint3D& position,
                                                const Scale& scale, double replacement) const
{
    std::unique_ptr<KrGeoCompound> compound = NewCompound();
    if (!compound) return nullptr;
    const double size = InterpolatedSize(scale);
    const double total = scale.total;
    const double radius = m_theme.GetBarWidth() * 0.5;
    double base = 0.0;
    for (unsigned int i = 0; i < count; ++i) {
        if (!TakeValue(values, i, replacement)) continue;
        const double height = values[i] / total * size;
        if (IsZero(height)) return nullptr;
        if (auto cylinder = NewSolid<KrGeoCylinder>(KrGeometry::GEO_CYLINDER)) {
            cylinder->Make(BsxPoint3D(position.x, position.y, position.z + base), radius, radius, height);
            const KrStyle& itemStyle = m_theme.GetUpdateGraph().GetStyleAt(static_cast<int>(i));
            if (i == 0) {
                cylinder->SetStyle(&itemStyle);
            } else {
                // Upper segments stand on the one below, not on the ground
                KrStyle style(itemStyle);
                style.SetAltitudeMode(ALTITUDE_RELATIVE_TO_GROUND);
                cylinder->SetStyle(&style);
            }
            compound->AddCompound(cylinder.release(), true);
        }
        base += height;
        if (m_theme.IsShowItemText())
            AddItemText(*compound, values[i], static_cast<int>(i), total,
                        BsxPoint3D(position.x, position.y, position.z + base - height + height * 0.5));
    }
    return compound.release();
}

KrGeometry* ChartBuilder::Pie(double* values, unsigned int count, const BsxPoint3D& position,
                                        const Scale& scale, double replacement) const
{
    std::unique_ptr<KrGeoCompound> compound = NewCompound();
    if (!compound) return nullptr;
    const double radius = InterpolatedSize(scale) * kPieRadiusFactor;
    const double sliceHeight = radius * 0.5;
    const double total = scale.total;
    double before = 0.0; // sum of the values ahead of item i, as the array then stands
    for (unsigned int i = 0; i < count; before += values[i], ++i) {
        if (!TakeValue(values, i, replacement)) continue;
        double sweep = values[i] / total * 360.0;
        if (count > 1) sweep -= kPieGap;
        if (sweep < kSmallestSlice) continue;
        const double start = m_theme.GetStartAngle() + before / total * 360.0;
        const double end = start + sweep;
        if (auto pie = NewSolid<KrGeoPieCylinder>(KrGeometry::GEO_PIECYLINDER)) {
            pie->Make(position, radius, radius, sweep, start, end, sliceHeight);
            pie->SetStyle(&m_theme.GetUpdateGraph().GetStyleAt(static_cast<int>(i)));
            compound->AddCompound(pie.release(), true);
        }
        if (m_theme.IsShowItemText()) {
            // On the rim at the middle of the slice, level with the slice's top face like the
            // texts on bars
            const double rim = MetresToDegrees(radius);
            const double middle = (start + sweep * 0.5) * kDegToRad;
            AddItemText(*compound, values[i], static_cast<int>(i), total,
                        BsxPoint3D(position.x + std::cos(middle) * rim, position.y + std::sin(middle) * rim,
                                   position.z + sliceHeight));
        }
    }
    return compound.release();
}

BsxUnicodeString ChartBuilder::ItemText(double value, int index, double total) const
{
    const Kr3DGraph& graph = m_theme.GetWorkingGraph();
    switch (m_theme.GetItemTextFormat()) {
    case KrTheme3DGraph::TextValue: return TrimmedValue(value);
    case KrTheme3DGraph::TextCaption: return graph.GetCaptionAt(index);
    case KrTheme3DGraph::TextCaptionPercent:
        if (IsZero(total)) return BsxUnicodeString();
        return graph.GetCaptionAt(index) + L" " + Percent(value, total);
    case KrTheme3DGraph::TextCaptionValue: {
        BsxUnicodeString text = graph.GetCaptionAt(index) + L" " + FormatNumber("%.5f", value);
        text.TrimRight(L'0');
        text.TrimRight(L'.');
        return text;
    }
    default:
        if (IsZero(total)) return BsxUnicodeString();
        return Percent(value, total);
    }
}

// The theme's layer sizes and chart entry points --------------------------------------------

bool KrTheme3DGraph::CalExtremumvValue(const double& minSum, const double& maxSum, const BSX::BsxRect2D& bounds,
                                       const int& count, bool absolute)
{
    m_minSum = minSum;
    m_maxSum = maxSum;
    if (count >= 1 && m_graph.GetCount() >= 1) {
        for (int i = 0; i < m_graph.GetCount(); ++i) {
            const Kr3DGraphItem& item = m_graph.GetItem(i);
            if (item.Type != Kr3DGraphItem::ArrayItem) continue;
            double lo = 0.0;
            double hi = 0.0;
            for (int k = 0; k < item.ArrayValues.GetSize(); ++k) {
                const double value = absolute ? std::fabs(item.ArrayValues[k]) : item.ArrayValues[k];
                if (k == 0 || value < lo) lo = value;
                if (k == 0 || value > hi) hi = value;
            }
            m_minSum += lo;
            m_maxSum += hi;
        }
    }
    if (m_minSum < 0.0) m_minSum = 0.0;
    if (m_maxSum < 0.0) m_maxSum = 0.0;
    m_sqrtMaxSum = std::sqrt(m_maxSum);
    m_sqrtMinSum = std::sqrt(m_minSum);
    m_logMaxSum = std::log(m_maxSum);
    m_logMinSum = std::log(m_minSum);

    // The side of the layer's extent as a fraction of the globe's
    const double f = std::sqrt(bounds.Width() * bounds.Height() / kGlobeSquareDegrees);
    if (IsZero(m_barWidth)) m_barWidth = f * kEarthRadius / kBarWidthDivisor;
    if (IsZero(m_maxSize.cy) && IsZero(m_minSize.cy)) {
        const double height = f * kEarthRadius / kHeightDivisor;
        m_maxSize = BSX::BsxSize2D(height * kSqrt2, height);
        // A maximum sum of 0 makes this 0/0: the minimum size is then not a number, which the
        // host's solids receive as they are
        const double ratio = std::sqrt(m_minSum / m_maxSum);
        m_minSize = BSX::BsxSize2D(ratio * height * kSqrt2, ratio * height);
    }
    SetModifiedFlag(true);
    return true;
}

KrGeometry* KrTheme3DGraph::ConvertToGeometry(double* values, unsigned int count, const BsxPoint3D& position)
{
    // No array means no values, however many the caller claims
    if (!values) count = 0;
    const ChartBuilder::Scale s = ChartBuilder(*this).ScaleOf(values, count);
    m_barSpacingDegrees = (2.0 * m_barWidth) / (std::cos(position.y * kDegToRad) * kEarthCircumference) * 360.0;
    switch (m_graph.GetGraphType()) {
    case GraphBar: return BarToGeometry(values, count, position, s.top, s.bottom, s.total, s.scaled, kReplacement);
    case GraphPie:
        return PieCylinderToGeometry(values, count, position, s.top, s.bottom, s.total, s.scaled, kReplacement);
    case GraphStackedBar:
        return StackedBarToGeometry(values, count, position, s.top, s.bottom, s.total, s.scaled, kReplacement);
    default: return nullptr;
    }
}

KrGeometry* KrTheme3DGraph::BarToGeometry(double* values, unsigned int count, const BsxPoint3D& position,
                                          const double& top, const double& bottom, const double& total,
                                          const double& scaled, const double& replacement)
{
    return ChartBuilder(*this).Bars(values, count, position, {total, top, bottom, scaled}, replacement);
}

KrGeometry* KrTheme3DGraph::StackedBarToGeometry(double* values, unsigned int count, const BsxPoint3D& position,
                                                 const double& top, const double& bottom, const double& total,
                                                 const double& scaled, const double& replacement)
{
    return ChartBuilder(*this).StackedBars(values, count, position, {total, top, bottom, scaled}, replacement);
}

KrGeometry* KrTheme3DGraph::PieCylinderToGeometry(double* values, unsigned int count, const BsxPoint3D& position,
                                                  const double& top, const double& bottom, const double& total,
                                                  const double& scaled, const double& replacement)
{
    return ChartBuilder(*this).Pie(values, count, position, {total, top, bottom, scaled}, replacement);
}

BsxUnicodeString KrTheme3DGraph::GetItemString(const double& value, const int& index, const double& total)
{
    return ChartBuilder(*this).ItemText(value, index, total);
}

} // namespace KRN
