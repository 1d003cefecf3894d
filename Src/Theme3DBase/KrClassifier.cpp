#include "KrClassifier.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "BsxTime.h"
#include "KrQuantileSketch.h"

namespace KRN {

namespace {

// Head/tail: the values at or above the mean keep being split while they are a minority
constexpr double kHeadShare = 0.4;
// Geometric intervals: the widest class at most this many times the narrowest, searched on a
// grid of ratios and once more on a finer grid around the best one
constexpr double kGeometricSpread = 1e6;
constexpr int kGeometricGrid = 1000;

// Within-class squared deviations of distinct values i .. j-1 from prefix sums of weights,
// weighted values and weighted squares (of values centred on the mean, so that the difference
// of the two sums keeps its digits)
struct PrefixSums {
    std::vector<double> w, s, q;
    double Cost(std::size_t i, std::size_t j) const
    {
        const double weight = w[j] - w[i];
        const double sum = s[j] - s[i];
        const double cost = q[j] - q[i] - sum * sum / weight;
        return cost > 0.0 ? cost : 0.0;
    }
};

// One layer of the dynamic programme: cur[j] = min over i < j of prev[i] + cost(i, j). The best
// i never moves left as j grows (the cost satisfies the quadrangle inequality), so the middle
// column is solved first and bounds the search of both halves: O(n log n) per layer.
struct Layer {
    const PrefixSums& sums;
    const std::vector<double>& prev;
    std::vector<double>& cur;
    std::vector<std::uint32_t>& arg;
    std::size_t first; // smallest i allowed (classes before need one value each)

    void Solve(std::size_t lo, std::size_t hi, std::size_t optLo, std::size_t optHi)
    {
        while (lo <= hi) {
            const std::size_t mid = lo + (hi - lo) / 2;
            const std::size_t from = std::max(optLo, first);
            const std::size_t to = std::min(mid - 1, optHi);
            double best = std::numeric_limits<double>::infinity();
            std::size_t bestI = from;
            for (std::size_t i = from; i <= to; ++i) {
                const double c = prev[i] + sums.Cost(i, mid);
                if (c < best) {
                    best = c;
                    bestI = i;
                }
            }
            cur[mid] = best;
            arg[mid] = static_cast<std::uint32_t>(bestI);
            // Recurse into the smaller half, loop over the larger, to bound the stack depth
            if (mid - lo < hi - mid) {
                if (mid > lo) Solve(lo, mid - 1, optLo, bestI);
                lo = mid + 1;
                optLo = bestI;
            } else {
                if (mid < hi) Solve(mid + 1, hi, bestI, optHi);
                if (mid == lo) break;
                hi = mid - 1;
                optHi = bestI;
            }
        }
    }
};

// Decimal multiple i * f * 10^e, computed so that a step like 0.2 gives 0.6 and not 0.6000000001
double DecimalMultiple(double i, double f, int e)
{
    return e >= 0 ? i * f * std::pow(10.0, e) : (i * f) / std::pow(10.0, -e);
}

struct CalendarStep {
    KrCalendarUnit unit;
    int step;
    double days; // approximate length, to skip steps far too fine or coarse
};

const CalendarStep kCalendarSteps[] = {
    {KrCalendarUnit::Year, 1000, 365250.0}, {KrCalendarUnit::Year, 500, 182625.0},
    {KrCalendarUnit::Year, 100, 36525.0},   {KrCalendarUnit::Year, 50, 18262.5},
    {KrCalendarUnit::Year, 20, 7305.0},     {KrCalendarUnit::Year, 10, 3652.5},
    {KrCalendarUnit::Year, 5, 1826.25},     {KrCalendarUnit::Year, 2, 730.5},
    {KrCalendarUnit::Year, 1, 365.25},      {KrCalendarUnit::Month, 6, 182.625},
    {KrCalendarUnit::Month, 3, 91.3125},    {KrCalendarUnit::Month, 1, 30.4375},
    {KrCalendarUnit::Day, 1, 1.0},          {KrCalendarUnit::Hour, 12, 0.5},
    {KrCalendarUnit::Hour, 6, 0.25},        {KrCalendarUnit::Hour, 3, 0.125},
    {KrCalendarUnit::Hour, 1, 1.0 / 24},    {KrCalendarUnit::Minute, 30, 1.0 / 48},
    {KrCalendarUnit::Minute, 15, 1.0 / 96}, {KrCalendarUnit::Minute, 5, 1.0 / 288},
    {KrCalendarUnit::Minute, 1, 1.0 / 1440}, {KrCalendarUnit::Second, 30, 1.0 / 2880},
    {KrCalendarUnit::Second, 15, 1.0 / 5760}, {KrCalendarUnit::Second, 5, 1.0 / 17280},
    {KrCalendarUnit::Second, 1, 1.0 / 86400},
};

// Years the host's dates hold
constexpr int kFirstYear = 100;
constexpr int kLastYear = 9999;

// Calendar boundaries strictly between min and max, at most limit of them (more: empty answer
// and false)
bool CalendarBoundaries(const CalendarStep& c, double min, double max, std::size_t limit, std::vector<double>& out)
{
    out.clear();
    auto push = [&](double b) {
        if (b > min && b < max) out.push_back(b);
        return out.size() <= limit;
    };
    const BSX::BsxTime start(min);
    if (c.unit == KrCalendarUnit::Year || c.unit == KrCalendarUnit::Month) {
        // Months counted from year 0, floored to the step
        const bool years = c.unit == KrCalendarUnit::Year;
        const long span = years ? 12L * c.step : c.step;
        long month = start.GetYear() * 12L + start.GetMonth() - 1;
        month -= ((month % span) + span) % span;
        for (;; month += span) {
            const int year = static_cast<int>(month / 12);
            if (year > kLastYear) break;
            if (year < kFirstYear) continue;
            const double b = BSX::BsxTime(year, static_cast<int>(month % 12) + 1, 1).GetValue();
            if (b >= max) break;
            if (!push(b)) return false;
        }
        return true;
    }
    const double perDay = c.unit == KrCalendarUnit::Day      ? 1.0 / c.step
                          : c.unit == KrCalendarUnit::Hour   ? 24.0 / c.step
                          : c.unit == KrCalendarUnit::Minute ? 1440.0 / c.step
                                                             : 86400.0 / c.step;
    for (double i = std::floor(min * perDay) + 1;; i += 1.0) {
        const double b = i / perDay;
        if (b >= max) break;
        if (!push(b)) return false;
    }
    return true;
}

} // namespace

// Construction ---------------------------------------------------------------------------

KrClassifier::KrClassifier(const std::vector<double>& values, std::int64_t hostNulls)
    : m_noData(hostNulls > 0 ? hostNulls : 0)
{
    std::vector<double> sorted;
    sorted.reserve(values.size());
    for (double x : values) {
        if (std::isfinite(x)) sorted.push_back(x);
        else ++m_noData;
    }
    std::sort(sorted.begin(), sorted.end());
    Collect(sorted);
}

KrClassifier::KrClassifier(const KrQuantileSketch& sketch) : m_noData(sketch.GetNoDataCount()), m_approximate(true)
{
    sketch.GetWeightedPoints(m_values, m_weights);
    m_cumulated.assign(1, 0.0);
    for (double w : m_weights) m_cumulated.push_back(m_cumulated.back() + w);
    m_count = sketch.GetCount();
}

void KrClassifier::Collect(std::vector<double>& sorted)
{
    m_count = static_cast<std::int64_t>(sorted.size());
    for (double x : sorted) {
        if (!m_values.empty() && m_values.back() == x) {
            m_weights.back() += 1.0;
        } else {
            m_values.push_back(x);
            m_weights.push_back(1.0);
        }
    }
    m_cumulated.assign(1, 0.0);
    m_cumulated.reserve(m_values.size() + 1);
    for (double w : m_weights) m_cumulated.push_back(m_cumulated.back() + w);
}

std::size_t KrClassifier::LowerIndex(double x) const
{
    return static_cast<std::size_t>(std::lower_bound(m_values.begin(), m_values.end(), x) - m_values.begin());
}

// Classes and fit ----------------------------------------------------------------------

KrClassification KrClassifier::Describe(KrClassMethod method, const std::vector<double>& breaks) const
{
    KrClassification r;
    r.method = method;
    r.breaks = breaks;
    r.count = m_count;
    r.noData = m_noData;
    r.approximate = m_approximate;
    r.classes.assign(breaks.size() + 1, KrClassSummary());
    const std::size_t n = m_values.size();
    if (n == 0) return r;
    // Class of each value: the number of breaks at or below it
    std::vector<std::size_t> cls(n);
    std::vector<double> weight(r.classes.size(), 0.0), sum(r.classes.size(), 0.0);
    double total = 0.0, totalWeight = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        const double x = m_values[i], w = m_weights[i];
        cls[i] = static_cast<std::size_t>(std::upper_bound(breaks.begin(), breaks.end(), x) - breaks.begin());
        KrClassSummary& c = r.classes[cls[i]];
        if (weight[cls[i]] == 0.0) c.min = x;
        c.max = x;
        weight[cls[i]] += w;
        sum[cls[i]] += w * x;
        total += w * x;
        totalWeight += w;
    }
    for (std::size_t c = 0; c < r.classes.size(); ++c) {
        r.classes[c].count = static_cast<std::int64_t>(std::llround(weight[c]));
        if (weight[c] > 0.0) r.classes[c].mean = std::clamp(sum[c] / weight[c], r.classes[c].min, r.classes[c].max);
    }
    const double mean = std::clamp(total / totalWeight, m_values.front(), m_values.back());
    // Second pass over the deviations, not the difference of sums, so that the fit of data far
    // from zero keeps its digits
    double within = 0.0, all = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        const double dc = m_values[i] - r.classes[cls[i]].mean, da = m_values[i] - mean;
        within += m_weights[i] * dc * dc;
        all += m_weights[i] * da * da;
    }
    r.gvf = all > 0.0 ? 1.0 - within / all : 1.0;
    return r;
}

// Natural breaks -----------------------------------------------------------------------

KrClassification KrClassifier::Natural(int count) const
{
    const std::size_t n = m_values.size();
    const std::size_t k = count < 1 ? 1 : std::min<std::size_t>(static_cast<std::size_t>(count), n);
    if (k < 2) return Describe(KrClassMethod::Natural, {});

    PrefixSums sums;
    sums.w.assign(n + 1, 0.0);
    sums.s.assign(n + 1, 0.0);
    sums.q.assign(n + 1, 0.0);
    const double centre = m_values[n / 2];
    for (std::size_t i = 0; i < n; ++i) {
        const double y = m_values[i] - centre, w = m_weights[i];
        sums.w[i + 1] = sums.w[i] + w;
        sums.s[i + 1] = sums.s[i] + w * y;
        sums.q[i + 1] = sums.q[i] + w * y * y;
    }
    // cost[j]: least cost of the first j values in the classes so far; arg[m][j]: where the last
    // of m+1 classes starts
    std::vector<double> prev(n + 1), cur(n + 1);
    for (std::size_t j = 1; j <= n; ++j) prev[j] = sums.Cost(0, j);
    std::vector<std::vector<std::uint32_t>> arg(k);
    for (std::size_t m = 1; m < k; ++m) {
        arg[m].assign(n + 1, 0);
        // m+1 classes need m+1 values; the remaining classes need one value each after j
        const std::size_t lo = m + 1, hi = n - (k - 1 - m);
        Layer layer{sums, prev, cur, arg[m], m};
        layer.Solve(lo, hi, m, hi - 1);
        std::swap(prev, cur);
    }
    std::vector<double> breaks(k - 1);
    std::size_t j = n;
    for (std::size_t m = k - 1; m >= 1; --m) {
        j = arg[m][j];
        breaks[m - 1] = m_values[j];
    }
    return Describe(KrClassMethod::Natural, breaks);
}

// Round numbers ------------------------------------------------------------------------

KrClassification KrClassifier::Pretty(int count) const
{
    if (m_values.size() < 2 || count < 2) return Describe(KrClassMethod::Pretty, {});
    const double min = m_values.front(), max = m_values.back();
    const double e0 = std::floor(std::log10((max - min) / count));
    double bestF = 0.0;
    int bestE = 0;
    double bestMiss = std::numeric_limits<double>::infinity();
    for (int e = static_cast<int>(e0) - 1; e <= static_cast<int>(e0) + 1; ++e) {
        for (double f : {5.0, 2.0, 1.0}) {
            const double step = DecimalMultiple(1.0, f, e);
            if (!(step > 0.0) || !std::isfinite(step)) continue;
            const double classes = std::ceil(max / step) - std::floor(min / step);
            const double miss = std::fabs(classes - count);
            // A tie keeps the coarser step
            if (miss < bestMiss || (miss == bestMiss && DecimalMultiple(1.0, f, e) > DecimalMultiple(1.0, bestF, bestE))) {
                bestMiss = miss;
                bestF = f;
                bestE = e;
            }
        }
    }
    std::vector<double> breaks;
    if (bestF > 0.0) {
        const double step = DecimalMultiple(1.0, bestF, bestE);
        for (double i = std::floor(min / step) + 1; breaks.size() <= static_cast<std::size_t>(count) * 2 + 2; i += 1.0) {
            const double b = DecimalMultiple(i, bestF, bestE);
            if (b >= max) break;
            if (b > min) breaks.push_back(b);
        }
    }
    return Describe(KrClassMethod::Pretty, breaks);
}

// Geometric intervals ------------------------------------------------------------------

KrClassification KrClassifier::Geometric(int count) const
{
    if (m_values.size() < 2 || count < 2) return Describe(KrClassMethod::Geometric, {});
    const double min = m_values.front(), max = m_values.back();
    const int k = count;
    auto breaksFor = [&](double logRatio) {
        std::vector<double> b(static_cast<std::size_t>(k - 1));
        // Widths w, w r, w r^2 ...: the sum of the first i is w (r^i - 1) / (r - 1); with
        // expm1 the ratio 1 (equal intervals) is the limit, not a division by zero
        const double total = logRatio == 0.0 ? k : std::expm1(k * logRatio) / std::expm1(logRatio);
        for (int i = 1; i < k; ++i) {
            const double part = logRatio == 0.0 ? i : std::expm1(i * logRatio) / std::expm1(logRatio);
            b[static_cast<std::size_t>(i - 1)] = min + (max - min) * (part / total);
        }
        return b;
    };
    auto unevenness = [&](double logRatio) {
        const std::vector<double> b = breaksFor(logRatio);
        double squares = 0.0, below = 0.0;
        for (std::size_t i = 0; i <= b.size(); ++i) {
            const double upTo = i < b.size() ? WeightBelow(LowerIndex(b[i])) : static_cast<double>(m_count);
            squares += (upTo - below) * (upTo - below);
            below = upTo;
        }
        return squares;
    };
    const double limit = std::log(kGeometricSpread) / (k - 1);
    double best = 0.0, bestCost = unevenness(0.0);
    auto search = [&](double centre, double halfWidth) {
        const double c = centre;
        for (int g = -kGeometricGrid; g <= kGeometricGrid; ++g) {
            const double x = c + halfWidth * g / kGeometricGrid;
            const double cost = unevenness(x);
            // Ties keep the ratio nearest to 1
            if (cost < bestCost || (cost == bestCost && std::fabs(x) < std::fabs(best))) {
                bestCost = cost;
                best = x;
            }
        }
    };
    search(0.0, limit);
    search(best, limit / kGeometricGrid);
    std::vector<double> breaks = breaksFor(best);
    // Rounding can repeat a break of a narrow class; the theme would join them anyway
    breaks.erase(std::unique(breaks.begin(), breaks.end()), breaks.end());
    return Describe(KrClassMethod::Geometric, breaks);
}

// Head/tail breaks ---------------------------------------------------------------------

KrClassification KrClassifier::HeadTail(int count) const
{
    std::vector<double> breaks;
    const std::size_t n = m_values.size();
    std::size_t lo = 0;
    while (count >= 2 && breaks.size() + 1 < static_cast<std::size_t>(count) && n - lo >= 2) {
        double weight = 0.0, sum = 0.0;
        const double centre = m_values[lo];
        for (std::size_t i = lo; i < n; ++i) {
            weight += m_weights[i];
            sum += m_weights[i] * (m_values[i] - centre);
        }
        const double mean = std::clamp(centre + sum / weight, m_values[lo], m_values[n - 1]);
        const std::size_t head = LowerIndex(mean);
        if (head <= lo || head >= n) break;
        const double share = (WeightBelow(n) - WeightBelow(head)) / weight;
        if (!breaks.empty() && share > kHeadShare) break;
        breaks.push_back(mean);
        lo = head;
    }
    return Describe(KrClassMethod::HeadTail, breaks);
}

// Calendar breaks ----------------------------------------------------------------------

KrClassification KrClassifier::Calendar(int count) const
{
    KrCalendarUnit unit = KrCalendarUnit::None;
    int step = 0;
    std::vector<double> breaks;
    if (m_values.size() >= 2 && count >= 2) {
        const double min = m_values.front(), max = m_values.back(), span = max - min;
        double bestMiss = std::numeric_limits<double>::infinity();
        std::vector<double> found;
        const std::size_t limit = static_cast<std::size_t>(count) * 4 + 4;
        for (const CalendarStep& c : kCalendarSteps) {
            // Far too many boundaries: finer steps only give more
            if (span / c.days > static_cast<double>(limit) * 2) break;
            if (!CalendarBoundaries(c, min, max, limit, found)) continue;
            const double miss = std::fabs(static_cast<double>(found.size() + 1) - count);
            if (miss < bestMiss) {
                bestMiss = miss;
                breaks = found;
                unit = c.unit;
                step = c.step;
            }
        }
    }
    KrClassification r = Describe(KrClassMethod::Calendar, breaks);
    r.unit = unit;
    r.step = step;
    return r;
}

std::string KrClassifier::FormatDate(double oleDate, KrCalendarUnit unit)
{
    const wchar_t* format = unit == KrCalendarUnit::Year     ? L"%Y"
                            : unit == KrCalendarUnit::Month  ? L"%Y-%m"
                            : unit == KrCalendarUnit::Day    ? L"%Y-%m-%d"
                            : unit == KrCalendarUnit::Second ? L"%Y-%m-%d %H:%M:%S"
                            : unit == KrCalendarUnit::None   ? L"%Y-%m-%d %H:%M:%S"
                                                             : L"%Y-%m-%d %H:%M";
    return BSX::BsxTime(oleDate).Format(format).ToUtf8();
}

// Quantiles ----------------------------------------------------------------------------

KrClassification KrClassifier::Quantile(int count) const
{
    std::vector<double> breaks;
    const double m = static_cast<double>(m_count);
    if (count >= 2 && m_count >= 2) {
        const std::int64_t n = std::min<std::int64_t>(count, m_count);
        for (std::int64_t k = 1; k < n; ++k) {
            // First value whose cumulated weight passes floor(k m / n)
            const double position = std::floor(static_cast<double>(k) * m / static_cast<double>(n));
            const std::size_t i = static_cast<std::size_t>(
                std::upper_bound(m_cumulated.begin() + 1, m_cumulated.end(), position) - (m_cumulated.begin() + 1));
            if (i >= m_values.size()) break;
            // A break at the minimum would bound an empty first class
            const double b = m_values[i];
            if (i > 0 && (breaks.empty() || breaks.back() != b)) breaks.push_back(b);
        }
    }
    return Describe(KrClassMethod::Quantile, breaks);
}

// Names --------------------------------------------------------------------------------

namespace {
struct MethodText {
    KrClassMethod method;
    const char* name;
    const char* description;
};
const MethodText kMethods[] = {
    {KrClassMethod::EqualInterval, "equal", "classes of equal width between the minimum and maximum"},
    {KrClassMethod::SquareRoot, "sqrt", "equal widths on a square-root scale"},
    {KrClassMethod::Stdev, "stdev", "classes one standard deviation wide around the mean"},
    {KrClassMethod::Logarithm, "log", "equal widths on a base-10 logarithmic scale"},
    {KrClassMethod::Quantile, "quantile", "about the same number of values in every class"},
    {KrClassMethod::FixedInterval, "interval", "classes of a fixed width (--interval)"},
    {KrClassMethod::Natural, "natural", "natural breaks: least within-class sum of squares, exact"},
    {KrClassMethod::Pretty, "pretty", "breaks on round numbers (1, 2 or 5 times a power of ten)"},
    {KrClassMethod::Geometric, "geometric", "widths growing by one ratio, values spread evenly"},
    {KrClassMethod::HeadTail, "headtail", "head/tail breaks for heavy-tailed data; the data set the count"},
    {KrClassMethod::Calendar, "calendar", "dates: breaks on years, months, days or hours"},
};
} // namespace

const char* KrClassifier::MethodName(KrClassMethod method)
{
    for (const MethodText& m : kMethods)
        if (m.method == method) return m.name;
    return "";
}

const char* KrClassifier::MethodDescription(KrClassMethod method)
{
    for (const MethodText& m : kMethods)
        if (m.method == method) return m.description;
    return "";
}

bool KrClassifier::MethodFromName(const std::string& name, KrClassMethod& method)
{
    for (const MethodText& m : kMethods) {
        if (name == m.name || name == std::to_string(static_cast<int>(m.method))) {
            method = m.method;
            return true;
        }
    }
    return false;
}

} // namespace KRN
