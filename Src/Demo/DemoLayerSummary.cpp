#include "DemoLayerSummary.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>

#include "BsxVariant.h"
#include "DemoVarint.h"
#include "KrTheme3D.h"

namespace KRN {

namespace {

// Cells seen before they are sorted into the counted ones
constexpr size_t kPendingCells = 1u << 16;
// Candidates kept per chart and direction; layers whose series run against each other can have
// more, and then scaled totals fall back to bounds
constexpr size_t kFrontLimit = 256;
constexpr char kMagic[] = "t3d-layer-summary-2";

// Little-endian fixed-width numbers, length-prefixed texts, and for the grid's cells numbers of
// seven bits a byte: a cell's distance from the one before and its count take a byte or two,
// against sixteen fixed; the cells are most of a summary's bytes
class Writer {
public:
    void U64(std::uint64_t v)
    {
        for (int i = 0; i < 8; ++i) bytes.push_back(static_cast<char>((v >> (8 * i)) & 0xFF));
    }
    void Varint(std::uint64_t v) { AppendVarint(bytes, v); }
    void Double(double d)
    {
        std::uint64_t v;
        std::memcpy(&v, &d, sizeof v);
        U64(v);
    }
    void Text(const std::string& s)
    {
        U64(s.size());
        bytes += s;
    }
    void Doubles(const std::vector<double>& v)
    {
        U64(v.size());
        for (double d : v) Double(d);
    }
    std::string bytes;
};

class Reader {
public:
    explicit Reader(const std::string& bytes) : m_bytes(bytes) {}
    std::uint64_t U64()
    {
        if (m_bytes.size() - m_pos < 8) return Fail();
        std::uint64_t v = 0;
        for (int i = 0; i < 8; ++i) v |= static_cast<std::uint64_t>(static_cast<unsigned char>(m_bytes[m_pos + i])) << (8 * i);
        m_pos += 8;
        return v;
    }
    std::uint64_t Varint()
    {
        std::uint64_t v = 0;
        return ReadVarint(m_bytes, m_pos, v) ? v : Fail();
    }
    double Double()
    {
        const std::uint64_t v = U64();
        double d;
        std::memcpy(&d, &v, sizeof d);
        return d;
    }
    std::string Text()
    {
        const std::uint64_t n = U64();
        if (n > m_bytes.size() - m_pos) return Fail(), std::string();
        std::string s = m_bytes.substr(m_pos, n);
        m_pos += n;
        return s;
    }
    // A count of items each at least `least` bytes long: a count the rest cannot hold is damage
    size_t Count(size_t least)
    {
        const std::uint64_t n = U64();
        if (n > (m_bytes.size() - m_pos) / std::max<size_t>(least, 1)) return Fail();
        return n;
    }
    std::vector<double> Doubles()
    {
        std::vector<double> v(Count(8));
        for (double& d : v) d = Double();
        return v;
    }
    bool Ok() const { return m_ok && m_pos == m_bytes.size(); }

private:
    std::uint64_t Fail()
    {
        m_ok = false;
        m_pos = m_bytes.size();
        return 0;
    }
    const std::string& m_bytes;
    size_t m_pos = 0;
    bool m_ok = true;
};

std::vector<BSX::BsxUnicodeString> Wide(const std::vector<std::string>& names)
{
    std::vector<BSX::BsxUnicodeString> out;
    for (const std::string& n : names) out.push_back(BSX::BsxUnicodeString::FromUtf8(n));
    return out;
}

bool NumberOf(const DemoFeature& f, const BSX::BsxUnicodeString& field, double& d)
{
    BSX::BsxVariant v;
    return !field.IsEmpty() && f.feature && f.feature->GetValue(field, v) && KrTheme3D::Variant2Double(v, d) &&
           std::isfinite(d);
}

// Keeps the points that no other one matches or beats in every series (larger) or matches or
// undercuts in every series (smaller): the only ones a positive weighting can make extreme
void Offer(std::vector<std::vector<double>>& front, const std::vector<double>& p, bool larger, bool& bounded)
{
    if (bounded) return;
    auto covers = [larger](const std::vector<double>& a, const std::vector<double>& b) {
        for (size_t k = 0; k < a.size(); ++k) {
            if (larger ? a[k] < b[k] : a[k] > b[k]) return false;
        }
        return true;
    };
    for (const auto& q : front) {
        if (covers(q, p)) return;
    }
    front.erase(std::remove_if(front.begin(), front.end(), [&](const std::vector<double>& q) { return covers(p, q); }),
                front.end());
    front.push_back(p);
    if (front.size() > kFrontLimit) bounded = true;
}

bool SamePlan(const DemoSummaryPlan& a, const DemoSummaryPlan& b)
{
    return a.extent == b.extent && a.numericFields == b.numericFields && a.valueFields == b.valueFields &&
           a.charts == b.charts && a.valueLimit == b.valueLimit;
}

} // namespace

DemoLayerSummary::DemoLayerSummary(const DemoSummaryPlan& plan) : m_plan(plan)
{
    m_plan.valueLimit = std::max<std::uint64_t>(1, m_plan.valueLimit);
    m_grid.SetExtent(plan.extent[0], plan.extent[1], plan.extent[2], plan.extent[3]);
    m_numeric.resize(plan.numericFields.size());
    m_distinct.resize(plan.valueFields.size());
    m_charts.resize(plan.charts.size());
    for (size_t i = 0; i < plan.charts.size(); ++i) {
        m_charts[i].low.assign(plan.charts[i].size(), 0.0);
        m_charts[i].high.assign(plan.charts[i].size(), 0.0);
        m_seriesNames.push_back(Wide(plan.charts[i]));
    }
    m_numericNames = Wide(plan.numericFields);
    m_valueNames = Wide(plan.valueFields);
}

void DemoLayerSummary::Add(const DemoFeature& f)
{
    ++m_features;
    const int kind = f.geometryType % 100;
    m_kinds |= 1u << (kind == 1 || kind == 3 || kind == 5 ? kind : 0);
    if (f.hasAnchor) {
        m_pending.push_back(m_grid.CellIndex(f.anchor.x, f.anchor.y));
        if (m_pending.size() >= kPendingCells) Compact();
    } else {
        ++m_unanchored;
    }
    for (size_t i = 0; i < m_numeric.size(); ++i) {
        double d = 0.0;
        if (NumberOf(f, m_numericNames[i], d)) m_numeric[i].statistics.Add(d), m_numeric[i].sketch.Add(d);
        else m_numeric[i].statistics.AddNoData(), m_numeric[i].sketch.AddNoData();
    }
    for (size_t i = 0; i < m_distinct.size(); ++i) {
        BSX::BsxVariant v;
        if (!f.feature || !f.feature->GetValue(m_valueNames[i], v)) continue;
        // Keys are made with the conversion the theme itself applies to values
        const std::string text = KrTheme3D::Variant2String(v).ToUtf8();
        if (text.empty()) continue;
        double number = 0.0;
        KrTheme3D::Variant2Double(v, number);
        AddValue(m_distinct[i], text, number, 1);
    }
    // A chart total counts a series without a number as 0, as the drawer does
    std::vector<double> point;
    for (size_t i = 0; i < m_charts.size(); ++i) {
        Chart& c = m_charts[i];
        point.assign(c.low.size(), 0.0);
        for (size_t k = 0; k < point.size(); ++k) NumberOf(f, m_seriesNames[i][k], point[k]);
        AddPoint(c, point);
    }
}

void DemoLayerSummary::AddPoint(Chart& c, const std::vector<double>& point)
{
    double sum = 0.0;
    for (size_t k = 0; k < point.size(); ++k) {
        c.low[k] = c.any ? std::min(c.low[k], point[k]) : point[k];
        c.high[k] = c.any ? std::max(c.high[k], point[k]) : point[k];
        sum += point[k];
    }
    c.minSum = c.any ? std::min(c.minSum, sum) : sum;
    c.maxSum = c.any ? std::max(c.maxSum, sum) : sum;
    c.any = true;
    Offer(c.top, point, true, c.bounded);
    Offer(c.bottom, point, false, c.bounded);
    if (c.bounded) c.top.clear(), c.bottom.clear();
}

void DemoLayerSummary::AddValue(Distinct& d, const std::string& text, double number, std::uint64_t count)
{
    auto it = d.values.find(text);
    if (it == d.values.end()) it = d.values.emplace(text, DemoValueCount{text, number, 0}).first;
    it->second.count += count;
    if (d.values.size() <= 2 * m_plan.valueLimit) return;
    // Over the limit: every count gives up as much as the (limit+1)-th largest holds, and the
    // values left with nothing go. A value's count then falls short by at most the sum of what
    // was given up, and a value more frequent than that is never let go.
    std::vector<std::uint64_t> counts;
    for (const auto& v : d.values) counts.push_back(v.second.count);
    std::nth_element(counts.begin(), counts.begin() + static_cast<std::ptrdiff_t>(m_plan.valueLimit), counts.end(),
                     std::greater<std::uint64_t>());
    const std::uint64_t cut = counts[static_cast<size_t>(m_plan.valueLimit)];
    for (auto v = d.values.begin(); v != d.values.end();) {
        if (v->second.count <= cut) v = d.values.erase(v);
        else v->second.count -= cut, ++v;
    }
    d.shortfall += cut;
    d.complete = false;
}

namespace {

// Adds sorted cell counts into sorted cell counts
void MergeCells(std::vector<std::pair<std::uint32_t, std::uint64_t>>& into,
                const std::vector<std::pair<std::uint32_t, std::uint64_t>>& from)
{
    std::vector<std::pair<std::uint32_t, std::uint64_t>> merged;
    merged.reserve(into.size() + from.size());
    size_t a = 0, b = 0;
    while (a < into.size() || b < from.size()) {
        if (b >= from.size() || (a < into.size() && into[a].first < from[b].first)) merged.push_back(into[a++]);
        else if (a >= into.size() || from[b].first < into[a].first) merged.push_back(from[b++]);
        else merged.emplace_back(into[a].first, into[a].second + from[b].second), ++a, ++b;
    }
    into.swap(merged);
}

} // namespace

void DemoLayerSummary::Compact() const
{
    if (m_pending.empty()) return;
    std::sort(m_pending.begin(), m_pending.end());
    std::vector<std::pair<std::uint32_t, std::uint64_t>> runs;
    for (std::uint32_t cell : m_pending) {
        if (!runs.empty() && runs.back().first == cell) ++runs.back().second;
        else runs.emplace_back(cell, 1);
    }
    MergeCells(m_cells, runs);
    m_pending.clear();
}

bool DemoLayerSummary::Merge(const DemoLayerSummary& later)
{
    if (!SamePlan(m_plan, later.m_plan)) return false;
    m_features += later.m_features, m_unanchored += later.m_unanchored, m_skipped += later.m_skipped;
    m_kinds |= later.m_kinds;
    Compact();
    later.Compact();
    MergeCells(m_cells, later.m_cells);
    for (size_t i = 0; i < m_numeric.size(); ++i) {
        m_numeric[i].statistics.Merge(later.m_numeric[i].statistics);
        m_numeric[i].sketch.Merge(later.m_numeric[i].sketch);
    }
    for (size_t i = 0; i < m_distinct.size(); ++i) {
        const Distinct& other = later.m_distinct[i];
        // By text, so that the values let go over the limit never depend on hash order
        std::vector<const DemoValueCount*> values;
        for (const auto& v : other.values) values.push_back(&v.second);
        std::sort(values.begin(), values.end(), [](const DemoValueCount* x, const DemoValueCount* y) { return x->text < y->text; });
        for (const DemoValueCount* v : values) AddValue(m_distinct[i], v->text, v->number, v->count);
        m_distinct[i].shortfall += other.shortfall;
        m_distinct[i].complete = m_distinct[i].complete && other.complete;
    }
    for (size_t i = 0; i < m_charts.size(); ++i) {
        Chart& c = m_charts[i];
        const Chart& o = later.m_charts[i];
        if (!o.any) continue;
        if (!c.any) {
            c = o;
            continue;
        }
        for (size_t k = 0; k < c.low.size(); ++k) c.low[k] = std::min(c.low[k], o.low[k]), c.high[k] = std::max(c.high[k], o.high[k]);
        c.minSum = std::min(c.minSum, o.minSum), c.maxSum = std::max(c.maxSum, o.maxSum);
        c.bounded = c.bounded || o.bounded;
        for (const auto& p : o.top) Offer(c.top, p, true, c.bounded);
        for (const auto& p : o.bottom) Offer(c.bottom, p, false, c.bounded);
        if (c.bounded) c.top.clear(), c.bottom.clear();
    }
    return true;
}

void DemoLayerSummary::CountInto(DemoTileTree& tree) const
{
    Compact();
    for (const auto& cell : m_cells) tree.AddCell(cell.first, cell.second);
}

DemoValueCounts DemoLayerSummary::GetValues(size_t field) const
{
    DemoValueCounts out;
    const Distinct& d = m_distinct[field];
    for (const auto& v : d.values) out.values.push_back(v.second);
    std::sort(out.values.begin(), out.values.end(), [](const DemoValueCount& a, const DemoValueCount& b) { return a.text < b.text; });
    out.complete = d.complete;
    out.shortfall = d.shortfall;
    return out;
}

DemoChartTotals DemoLayerSummary::GetChartTotals(size_t chart) const
{
    const Chart& c = m_charts[chart];
    const size_t n = c.low.size();
    DemoChartTotals out;
    out.shared.factors.assign(n, 1.0);
    out.independent.factors.assign(n, 1.0);
    if (!c.any) return out;
    for (size_t k = 0; k < n; ++k) {
        const double largest = std::max(0.0, c.high[k]);
        if (largest > 0.0 && std::isfinite(1.0 / largest)) out.independent.factors[k] = 1.0 / largest;
    }
    // Totals summed series by series in their order, as the drawer sums them
    auto total = [n](const std::vector<double>& p, const std::vector<double>& factors) {
        double sum = 0.0;
        for (size_t k = 0; k < n; ++k) sum += p[k] * factors[k];
        return sum;
    };
    for (DemoChartTotals::Scaling* s : {&out.shared, &out.independent}) {
        for (size_t k = 0; k < n; ++k) s->maxValue = std::max(s->maxValue, c.high[k] * s->factors[k]);
    }
    out.shared.minSum = c.minSum, out.shared.maxSum = c.maxSum;
    DemoChartTotals::Scaling& ind = out.independent;
    if (c.bounded) {
        ind.minSum = total(c.low, ind.factors), ind.maxSum = total(c.high, ind.factors);
    } else {
        ind.minSum = total(c.bottom.front(), ind.factors), ind.maxSum = total(c.top.front(), ind.factors);
        for (const auto& p : c.bottom) ind.minSum = std::min(ind.minSum, total(p, ind.factors));
        for (const auto& p : c.top) ind.maxSum = std::max(ind.maxSum, total(p, ind.factors));
    }
    return out;
}

std::string DemoLayerSummary::ToBytes() const
{
    Compact();
    Writer w;
    w.Text(kMagic);
    for (double d : m_plan.extent) w.Double(d);
    auto names = [&w](const std::vector<std::string>& list) {
        w.U64(list.size());
        for (const std::string& s : list) w.Text(s);
    };
    names(m_plan.numericFields);
    names(m_plan.valueFields);
    w.U64(m_plan.charts.size());
    for (const auto& chart : m_plan.charts) names(chart);
    w.U64(m_plan.valueLimit);
    w.U64(m_features), w.U64(m_unanchored), w.U64(m_skipped), w.U64(m_kinds);
    w.U64(m_cells.size());
    // Cells are in increasing order: each after the first is written as its distance from the last
    std::uint64_t next = 0;
    for (const auto& cell : m_cells) w.Varint(cell.first - next), w.Varint(cell.second), next = cell.first + 1ull;
    for (const Numeric& n : m_numeric) w.Text(n.statistics.ToBytes()), w.Text(n.sketch.ToBytes());
    for (size_t i = 0; i < m_distinct.size(); ++i) {
        const DemoValueCounts values = GetValues(i);
        w.U64(values.complete), w.U64(values.shortfall), w.U64(values.values.size());
        for (const DemoValueCount& v : values.values) w.Text(v.text), w.Double(v.number), w.U64(v.count);
    }
    for (const Chart& c : m_charts) {
        w.Doubles(c.low), w.Doubles(c.high);
        w.Double(c.minSum), w.Double(c.maxSum), w.U64(c.bounded), w.U64(c.any);
        for (const auto* front : {&c.top, &c.bottom}) {
            w.U64(front->size());
            for (const auto& p : *front) w.Doubles(p);
        }
    }
    return w.bytes;
}

bool DemoLayerSummary::FromBytes(const std::string& bytes)
{
    *this = DemoLayerSummary();
    Reader r(bytes);
    if (r.Text() != kMagic) return false;
    DemoSummaryPlan plan;
    for (double& d : plan.extent) d = r.Double();
    auto names = [&r](std::vector<std::string>& list) {
        list.resize(r.Count(8));
        for (std::string& s : list) s = r.Text();
    };
    names(plan.numericFields);
    names(plan.valueFields);
    plan.charts.resize(r.Count(8));
    for (auto& chart : plan.charts) names(chart);
    plan.valueLimit = r.U64();
    DemoLayerSummary s(plan);
    s.m_features = r.U64(), s.m_unanchored = r.U64(), s.m_skipped = r.U64(), s.m_kinds = static_cast<unsigned>(r.U64());
    s.m_cells.resize(r.Count(2));
    std::uint64_t next = 0;
    for (auto& cell : s.m_cells) {
        const std::uint64_t index = next + r.Varint();
        // A cell beyond the grid or out of order would be lost or counted twice by a merge
        if (index >= (1ull << (2 * DemoTileTree::kGridLevel))) return false;
        cell.first = static_cast<std::uint32_t>(index), cell.second = r.Varint(), next = index + 1;
    }
    for (Numeric& n : s.m_numeric) {
        if (!n.statistics.FromBytes(r.Text()) || !n.sketch.FromBytes(r.Text())) return false;
    }
    for (Distinct& d : s.m_distinct) {
        d.complete = r.U64() != 0;
        d.shortfall = r.U64();
        const size_t n = r.Count(24);
        for (size_t i = 0; i < n; ++i) {
            DemoValueCount v;
            v.text = r.Text(), v.number = r.Double(), v.count = r.U64();
            d.values.emplace(v.text, v);
        }
    }
    for (Chart& c : s.m_charts) {
        const size_t series = c.low.size();
        c.low = r.Doubles(), c.high = r.Doubles();
        c.minSum = r.Double(), c.maxSum = r.Double(), c.bounded = r.U64() != 0, c.any = r.U64() != 0;
        for (auto* front : {&c.top, &c.bottom}) {
            front->resize(r.Count(8));
            for (auto& p : *front) {
                p = r.Doubles();
                if (p.size() != series) return false;
            }
        }
        if (c.low.size() != series || c.high.size() != series || (c.any && !c.bounded && (c.top.empty() || c.bottom.empty())))
            return false;
    }
    if (!r.Ok()) return false;
    *this = std::move(s);
    return true;
}

} // namespace KRN
