#include "DemoDrawer.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <unordered_map>

#include "BsxArray.h"
#include "BsxColor.h"
#include "BsxVariant.h"
#include "DemoThemeBuilder.h"
#include "KrTheme3DCustom.h"
#include "KrTheme3DGraph.h"
#include "KrTheme3DItem.h"
#include "KrTheme3DLabel.h"
#include "KrTheme3DRange.h"
#include "KrTheme3DUnique.h"

namespace KRN {

namespace {

// The part of a query definition before " as ", which is what the feature is asked for
BSX::BsxUnicodeString QueryExpression(const BSX::BsxUnicodeString& query)
{
    const std::wstring& text = query.Str();
    const size_t at = text.rfind(L" as ");
    if (at == std::wstring::npos) return query;
    BSX::BsxUnicodeString expression(text.substr(0, at));
    expression.TrimLeft();
    expression.TrimRight();
    return expression;
}

// The number after the alias of a chart query field ("POP as ThemeGraph3" -> 3), 0 when none
int QueryNumber(const BSX::BsxUnicodeString& query)
{
    const std::wstring& text = query.Str();
    size_t end = text.size();
    size_t start = end;
    while (start > 0 && text[start - 1] >= L'0' && text[start - 1] <= L'9') --start;
    if (start == end || end - start > 6) return 0;
    return static_cast<int>(std::wcstol(text.c_str() + start, nullptr, 10));
}

// Median distance in metres from a chart's foot to the nearest other one (0 for fewer than two):
// the room a chart has before it runs into its neighbour
double TypicalSpacing(const DemoLayer& layer)
{
    std::vector<const BSX::BsxPoint3D*> points;
    for (const DemoFeature& f : layer.features) {
        if (f.hasAnchor) points.push_back(&f.anchor);
    }
    if (points.size() < 2) return 0.0;
    // Buckets about one chart apart: the nearest neighbour is almost always in the ring around
    const double cell = std::max(1e-6, std::sqrt(std::fabs(layer.bounds.Width() * layer.bounds.Height()) / points.size()));
    auto bucket = [cell](double v) { return static_cast<long long>(std::floor(v / cell)); };
    auto key = [](long long cx, long long cy) { return cx * 2000003LL + cy; };
    std::unordered_map<long long, std::vector<const BSX::BsxPoint3D*>> grid;
    for (const BSX::BsxPoint3D* p : points) grid[key(bucket(p->x), bucket(p->y))].push_back(p);
    std::vector<double> nearest;
    for (const BSX::BsxPoint3D* p : points) {
        double best = std::numeric_limits<double>::infinity();
        const long long cx = bucket(p->x), cy = bucket(p->y);
        for (long long ring = 1; ring <= 8 && !std::isfinite(best); ring *= 2) {
            for (long long x = cx - ring; x <= cx + ring; ++x) {
                for (long long y = cy - ring; y <= cy + ring; ++y) {
                    auto it = grid.find(key(x, y));
                    if (it == grid.end()) continue;
                    for (const BSX::BsxPoint3D* q : it->second) {
                        if (q == p) continue;
                        // Metres on the WGS84 ellipsoid near the foot, close enough for spacing
                        const double dx = (q->x - p->x) * 111320.0 * std::cos(p->y * 0.017453292519943295);
                        const double dy = (q->y - p->y) * 110574.0;
                        best = std::min(best, std::hypot(dx, dy));
                    }
                }
            }
        }
        if (std::isfinite(best) && best > 0.0) nearest.push_back(best);
    }
    if (nearest.empty()) return 0.0;
    std::nth_element(nearest.begin(), nearest.begin() + nearest.size() / 2, nearest.end());
    return nearest[nearest.size() / 2];
}

KrColorValue3D Colour(BSX::BsxColor c)
{
    return KrColorValue3D(BSXREDVAL(c) / 255.0, BSXGREENVAL(c) / 255.0, BSXBLUEVAL(c) / 255.0, BSXALPHAVAL(c) / 255.0);
}

} // namespace

DemoDrawer::DemoDrawer(KrTheme3D& theme, const DemoLayer& layer) : m_theme(theme), m_layer(layer)
{
    m_kind = theme.GetType();
    // Features that no style-giving theme colours are drawn in a quiet grey
    m_neutral.SetFillColor(KrColorValue3D(0.78, 0.78, 0.76, 1.0));
    m_neutral.SetPointColor(KrColorValue3D(0.78, 0.78, 0.76, 1.0));
    m_neutral.SetLineColor3D(KrColorValue3D(0.35, 0.35, 0.35, 1.0));
}

bool DemoDrawer::CheckQueryField(const BSX::BsxUnicodeString& query, std::string& error)
{
    const BSX::BsxUnicodeString expression = QueryExpression(query);
    if (expression.IsEmpty()) return true;
    m_queryFields.push_back(expression.ToUtf8());
    if (m_layer.FindField(expression.ToUtf8()) >= 0) return true;
    // A number literal needs no field
    wchar_t* end = nullptr;
    std::wcstod(expression.Cstr(), &end);
    if (end != expression.Cstr() && *end == 0) return true;
    error = "the theme asks for the field '" + expression.ToUtf8() + "', which the layer '" + m_layer.name + "' lacks";
    return false;
}

bool DemoDrawer::PrepareGraph(std::string& error)
{
    auto& graph = static_cast<KrTheme3DGraph&>(m_theme);
    const int count = graph.GetCount();
    std::vector<BSX::BsxUnicodeString> expressions;
    for (int i = 0; i < count; ++i) expressions.push_back(graph.GetExpressionAt(i));
    auto valueOf = [](const DemoFeature& f, const BSX::BsxUnicodeString& e, double& d) {
        BSX::BsxVariant v;
        return !e.IsEmpty() && f.feature->GetValue(e, v) && KrTheme3D::Variant2Double(v, d) && std::isfinite(d);
    };
    const DemoChartScale& scale = m_chartScale;
    const bool apply = !scale.fromDocument || scale.Changes();
    m_independent = scale.series == DemoChartScale::Series::Independent ||
                    (scale.series == DemoChartScale::Series::Auto && !scale.fromDocument &&
                     graph.GetGraphType() == KrTheme3DGraph::GraphBar);
    // Each series' largest value, the unit it is measured in when series are independent
    m_seriesFactors.assign(static_cast<size_t>(count), 1.0);
    const DemoChartTotals::Scaling* given =
        m_hasTotals ? (m_independent ? &m_totals.independent : &m_totals.shared) : nullptr;
    if (given && given->factors.size() != m_seriesFactors.size()) given = nullptr;
    if (given) {
        m_seriesFactors = given->factors;
    } else if (m_independent) {
        std::vector<double> largest(static_cast<size_t>(count), 0.0);
        for (const DemoFeature& f : m_layer.features) {
            for (size_t k = 0; k < expressions.size(); ++k) {
                double d = 0.0;
                if (valueOf(f, expressions[k], d)) largest[k] = std::max(largest[k], d);
            }
        }
        for (size_t k = 0; k < largest.size(); ++k) {
            if (largest[k] > 0.0 && std::isfinite(1.0 / largest[k])) m_seriesFactors[k] = 1.0 / largest[k];
        }
    }
    // The layer's smallest and largest chart totals over the field series, and its tallest single
    // value; the theme adds the extremes of its array series itself
    double minSum = std::numeric_limits<double>::infinity();
    double maxSum = -minSum, maxValue = 0.0;
    if (given) {
        minSum = given->minSum, maxSum = given->maxSum, maxValue = given->maxValue;
    } else {
        for (const DemoFeature& f : m_layer.features) {
            double sum = 0.0;
            for (size_t k = 0; k < expressions.size(); ++k) {
                double d = 0.0;
                if (!valueOf(f, expressions[k], d)) continue;
                d *= m_seriesFactors[k];
                sum += d;
                maxValue = std::max(maxValue, d);
            }
            minSum = std::min(minSum, sum);
            maxSum = std::max(maxSum, sum);
        }
        if (m_layer.features.empty()) minSum = maxSum = 0.0;
    }
    const int features = static_cast<int>(std::min<size_t>(m_layer.features.size(), std::numeric_limits<int>::max()));
    m_seriesMetres.assign(static_cast<size_t>(count), 0.0);
    if (apply) {
        if (scale.barWidth > 0.0) {
            graph.SetBarWidth(scale.barWidth);
        } else if (!scale.fromDocument) {
            // The theme's default width follows the layer's extent only; on a dense layer the
            // bars of neighbours would merge into one mass. Keep a typical chart within its room.
            const double side = std::sqrt(std::fabs(m_layer.bounds.Width() * m_layer.bounds.Height()) / 64800.0);
            const double spacing = TypicalSpacing(m_layer);
            const int across = graph.GetGraphType() == KrTheme3DGraph::GraphBar ? std::max(1, count) : 1;
            const double fits = spacing * 0.6 / across;
            if (fits > 0.0) graph.SetBarWidth(std::min(side * 6378137.0 / 50.0, fits));
        }
        if (scale.sizeMax > 0.0) {
            graph.SetMinSumSize(scale.sizeMin);
            graph.SetMaxSumSize(scale.sizeMax);
        } else if (!(scale.metresPerUnit > 0.0) && graph.GetGraphType() == KrTheme3DGraph::GraphPie && maxSum > 0.0) {
            // Pies read as proportional symbols: a pie's area follows its total, so the radius
            // grows with the square root, and the largest pie spans one and a half times the
            // typical distance between neighbours. Radii in proportion to the totals themselves
            // shrink every pie but the largest few to a dot.
            const double spacing = TypicalSpacing(m_layer);
            const double side = std::sqrt(std::fabs(m_layer.bounds.Width() * m_layer.bounds.Height()) / 64800.0);
            const double largestRadius = spacing > 0.0 ? 1.5 * spacing : side * 6378137.0 / 20.0;
            // The theme's pie radius is a quarter of the chart size
            const double top = 4.0 * largestRadius;
            graph.SetGraduatedMode(KrTheme3DGraph::GraduatedSquareRoot);
            graph.SetMaxSumSize(top);
            // With the smallest size at the smallest total's share, the interpolation between
            // the square roots of the extreme totals is the square root itself
            graph.SetMinSumSize(top * std::sqrt(std::max(0.0, minSum) / maxSum));
        } else {
            // Heights proportional to the values: with linear grading, sizes of total x metres
            // per unit at both ends make every solid value x metres per unit high
            double metres = scale.metresPerUnit;
            if (!(metres > 0.0)) {
                const double side = std::sqrt(std::fabs(m_layer.bounds.Width() * m_layer.bounds.Height()) / 64800.0);
                const double tallest = graph.GetGraphType() == KrTheme3DGraph::GraphBar ? maxValue : maxSum;
                // The theme's own default height: a tenth of the Earth's radius, times the side
                // of the layer's extent as a fraction of the globe's
                metres = tallest > 0.0 ? side * 6378137.0 / 10.0 / tallest : 1.0;
            }
            graph.SetGraduatedMode(KrTheme3DGraph::GraduatedConstant);
            graph.SetMinSumSize(std::max(0.0, minSum) * metres);
            graph.SetMaxSumSize(std::max(0.0, maxSum) * metres);
            for (size_t k = 0; k < m_seriesMetres.size(); ++k) m_seriesMetres[k] = metres * m_seriesFactors[k];
        }
    }
    graph.CalExtremumvValue(minSum, maxSum, m_layer.bounds, features, false);
    graph.PrepareTheme();
    graph.UpdateTheme();

    BSX::BsxArray<BSX::BsxUnicodeString> fields;
    graph.GetThemeQueryDef(fields, true);
    const int items = count;
    m_seriesExpressions.assign(static_cast<size_t>(items), BSX::BsxUnicodeString());
    m_seriesTypes.assign(static_cast<size_t>(items), 1);
    for (int i = 0; i < items; ++i) m_seriesTypes[static_cast<size_t>(i)] = graph.GetThemeGraphItemType(i);
    for (const auto& query : fields) {
        if (!CheckQueryField(query, error)) return false;
        const int number = QueryNumber(query);
        if (number >= 1 && number <= items) m_seriesExpressions[static_cast<size_t>(number - 1)] = QueryExpression(query);
    }
    m_values.assign(static_cast<size_t>(items), 0.0);
    return true;
}

bool DemoDrawer::Prepare(std::string& error)
{
    m_queryFields.clear();
    m_legend.clear();
    m_styleEntries.clear();
    switch (m_kind) {
    case KrTheme3D::Theme3DUnique:
    case KrTheme3D::Theme3DRange:
    case KrTheme3D::Theme3DLabel:
        m_expression = QueryExpression(m_theme.GetFieldName(true));
        if (!CheckQueryField(m_theme.GetFieldName(true), error)) return false;
        break;
    case KrTheme3D::Theme3DGraph:
        if (!PrepareGraph(error)) return false;
        break;
    case KrTheme3D::Theme3DCustom: {
        // One query per kind of geometry that the layer holds
        unsigned kinds = m_kinds;
        if (!m_hasKinds) {
            kinds = 0;
            for (const DemoFeature& f : m_layer.features) {
                const int t = f.geometryType % 100;
                kinds |= 1u << (t == 1 || t == 3 || t == 5 ? t : 0);
            }
        }
        for (int selector = 0; selector < 4; ++selector) {
            if (!(kinds & (1u << (selector == 3 ? 0 : selector * 2 + 1)))) continue;
            BSX::BsxArray<BSX::BsxUnicodeString> fields;
            m_theme.GetThemeQueryDef(selector, fields);
            for (const auto& query : fields) {
                if (!CheckQueryField(query, error)) return false;
            }
        }
        break;
    }
    default:
        error = "the theme has an unknown kind " + std::to_string(m_kind);
        return false;
    }
    BuildLegend();
    return true;
}

void DemoDrawer::BuildLegend()
{
    m_defaultEntry = m_hiddenEntry = m_noDataEntry = -1;
    m_classCount = 0;
    if (m_kind == KrTheme3D::Theme3DUnique) {
        auto& unique = static_cast<KrTheme3DUnique&>(m_theme);
        m_classCount = unique.GetCount();
        for (int i = 0; i < unique.GetCount(); ++i) {
            const KrTheme3DItem* item = unique.GetAt(i);
            if (!item) continue;
            DemoLegendEntry e;
            e.caption = item->Caption.ToUtf8();
            e.role = "item";
            e.value = unique.GetValueAt(i).ToUtf8();
            e.colour = item->Style.GetFillColor();
            m_styleEntries.emplace_back(&item->Style, static_cast<int>(m_legend.size()));
            m_legend.push_back(e);
        }
        DemoLegendEntry other;
        other.caption = "Other values";
        other.role = "default";
        other.colour = unique.GetDefaultStyle().GetFillColor();
        m_defaultEntry = static_cast<int>(m_legend.size());
        m_styleEntries.emplace_back(&unique.GetDefaultStyle(), m_defaultEntry);
        m_legend.push_back(other);
    } else if (m_kind == KrTheme3D::Theme3DRange) {
        auto& range = static_cast<KrTheme3DRange&>(m_theme);
        m_classCount = range.GetCount();
        const int breaks = range.GetValueCount();
        for (int i = 0; i < range.GetCount(); ++i) {
            const KrTheme3DItem* item = range.GetAt(i);
            if (!item) continue;
            DemoLegendEntry e;
            e.caption = item->Caption.ToUtf8();
            e.role = "item";
            // Ranges run upward unless the theme says otherwise; item i lies between breaks i-1 and i
            if (i > 0 && i - 1 < breaks) e.hasLow = true, e.low = range.GetValueAt(i - 1);
            if (i < breaks) e.hasHigh = true, e.high = range.GetValueAt(i);
            e.colour = item->Style.GetFillColor();
            m_styleEntries.emplace_back(&item->Style, static_cast<int>(m_legend.size()));
            m_legend.push_back(e);
        }
        // A light grey apart from every class colour: absent data must not pass for a low value
        const KrColorValue3D grey(0.82, 0.82, 0.82, 1.0);
        m_noData.SetFillColor(grey);
        m_noData.SetPointColor(grey);
        m_noData.SetLineColor3D(grey);
        DemoLegendEntry none;
        none.caption = "No data";
        none.role = "nodata";
        none.colour = grey;
        m_noDataEntry = static_cast<int>(m_legend.size());
        m_legend.push_back(none);
    } else if (m_kind == KrTheme3D::Theme3DLabel) {
        DemoLegendEntry e;
        e.caption = "Labelled";
        e.role = "item";
        e.value = m_expression.ToUtf8();
        e.colour = Colour(m_theme.GetTextStyle()->GetForeColor());
        m_classCount = 1;
        m_legend.push_back(e);
    } else if (m_kind == KrTheme3D::Theme3DGraph) {
        auto& graph = static_cast<KrTheme3DGraph&>(m_theme);
        m_classCount = graph.GetCount();
        for (int i = 0; i < graph.GetCount(); ++i) {
            DemoLegendEntry e;
            e.value = graph.GetExpressionAt(i).ToUtf8();
            e.caption = e.value;
            e.role = "series";
            e.colour = graph.GetStyleAt(i).GetFillColor();
            if (static_cast<size_t>(i) < m_seriesMetres.size()) e.metresPerUnit = m_seriesMetres[static_cast<size_t>(i)];
            m_legend.push_back(e);
        }
    } else if (m_kind == KrTheme3D::Theme3DCustom) {
        auto& custom = static_cast<KrTheme3DCustom&>(m_theme);
        const BSX::BsxUnicodeString* members[] = {
            &custom.AltitudeMode, &custom.BottomAltitude, &custom.ExtendHeight, &custom.BillboardMode,
            &custom.MarkerStyle, &custom.IconName, &custom.IconScale, &custom.ColorPoint, &custom.LineStyle,
            &custom.LineWidth, &custom.LineColor, &custom.FillStyle, &custom.Fill3DMode, &custom.FillForeColor,
            &custom.ScaleX, &custom.ScaleY, &custom.ScaleZ, &custom.RotateX, &custom.RotateY, &custom.RotateZ};
        const auto& names = DemoThemeBuilder::CustomPropertyNames();
        for (size_t i = 0; i < names.size(); ++i) {
            if (members[i]->IsEmpty()) continue;
            DemoLegendEntry e;
            e.caption = names[i];
            e.role = "property";
            e.value = members[i]->ToUtf8();
            e.colour = m_neutral.GetFillColor();
            m_legend.push_back(e);
            ++m_classCount;
        }
    }
    if (m_kind != KrTheme3D::Theme3DGraph && m_kind != KrTheme3D::Theme3DCustom) {
        DemoLegendEntry hidden;
        hidden.caption = m_kind == KrTheme3D::Theme3DLabel ? "No label" : "Not drawn";
        hidden.role = "hidden";
        hidden.colour = KrColorValue3D(0.0, 0.0, 0.0, 0.0);
        m_hiddenEntry = static_cast<int>(m_legend.size());
        m_legend.push_back(hidden);
    }
}

void DemoDrawer::DrawGraph(const DemoFeature& f, size_t i, DemoDrawnFeature& out)
{
    const size_t items = m_values.size();
    for (size_t k = 0; k < items; ++k) {
        double value = 0.0;
        if (m_seriesTypes[k] == 2) {
            // Array series are keyed; the demo keys features by their position in the layer
            const int key = static_cast<int>(std::min<size_t>(i, std::numeric_limits<int>::max()));
            m_theme.GetThemeGraphValues(value, key, static_cast<int>(k));
        } else {
            BSX::BsxVariant v;
            if (!m_seriesExpressions[k].IsEmpty() && f.feature->GetValue(m_seriesExpressions[k], v)) {
                if (!KrTheme3D::Variant2Double(v, value) || !std::isfinite(value)) value = 0.0;
            }
            if (k < m_seriesFactors.size()) value *= m_seriesFactors[k];
        }
        m_values[k] = value;
    }
    // A series counts where it has a positive value: the theme skips the others (and overwrites
    // them with its replacement value, so they are counted before)
    for (size_t k = 0; k < items && k < m_legend.size(); ++k) {
        if (m_values[k] > 0.0) ++m_legend[k].count;
    }
    const BSX::BsxPoint3D at(f.anchor.x, f.anchor.y, 0.0);
    out.chart.reset(m_theme.ConvertToGeometry(m_values.data(), static_cast<unsigned int>(items), at));
}

void DemoDrawer::Draw(size_t i, DemoDrawnFeature& out) { Draw(m_layer.features[i], i, out); }

void DemoDrawer::Draw(const DemoFeature& f, size_t i, DemoDrawnFeature& out)
{
    out.drawn = true;
    out.style = &m_neutral;
    out.legendEntry = -1;
    out.label.Empty();
    out.chart.reset();
    switch (m_kind) {
    case KrTheme3D::Theme3DUnique:
    case KrTheme3D::Theme3DRange: {
        BSX::BsxVariant v;
        f.feature->GetValue(m_expression, v);
        double number = 0.0;
        if (m_noDataEntry >= 0 && !(KrTheme3D::Variant2Double(v, number) && std::isfinite(number))) {
            out.style = &m_noData;
            out.legendEntry = m_noDataEntry;
            break;
        }
        const KrStyle* style = m_theme.FindStyle(v);
        if (!style) {
            out.drawn = false;
            out.legendEntry = m_hiddenEntry;
            out.style = nullptr;
            break;
        }
        out.style = style;
        for (const auto& entry : m_styleEntries) {
            if (entry.first == style) {
                out.legendEntry = entry.second;
                break;
            }
        }
        break;
    }
    case KrTheme3D::Theme3DLabel: {
        BSX::BsxVariant v;
        f.feature->GetValue(m_expression, v);
        // The theme's text for a missing value ("<NULL>") is right for a table, not for a map:
        // a feature without a value goes unlabelled
        if (v.IsNull()) out.label.Empty();
        else out.label = m_theme.GetStringFromVariant(v);
        out.legendEntry = out.label.IsEmpty() ? m_hiddenEntry : 0;
        break;
    }
    case KrTheme3D::Theme3DCustom:
        // The theme writes what its expressions give into the caller's style
        m_customStyle = m_neutral;
        if (m_theme.FindStyle(f.feature.get(), m_customStyle)) {
            for (auto& e : m_legend) ++e.count;
        }
        out.style = &m_customStyle;
        break;
    case KrTheme3D::Theme3DGraph:
        if (f.hasAnchor) DrawGraph(f, i, out);
        break;
    default:
        break;
    }
    if (out.legendEntry >= 0 && static_cast<size_t>(out.legendEntry) < m_legend.size()) ++m_legend[static_cast<size_t>(out.legendEntry)].count;
}

} // namespace KRN
