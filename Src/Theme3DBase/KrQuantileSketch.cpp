#include "KrQuantileSketch.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "KrByteCodec.h"

namespace KRN {

namespace {
constexpr std::uint64_t kMagic = 0x314C4C4B44335454ULL; // "TT3DKLL1"
constexpr int kMinK = 8;
constexpr std::size_t kMinCapacity = 2;
// Level capacities shrink by this factor below the top level
constexpr double kShrink = 2.0 / 3.0;
// A byte string holding more levels than any 64-bit count needs was not written by us
constexpr std::uint64_t kMaxLevels = 64;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
} // namespace

KrQuantileSketch::KrQuantileSketch(int k, std::uint64_t seed)
    : m_k(std::max(k, kMinK)), m_state(seed ? seed : 1), m_levels(1)
{
}

std::size_t KrQuantileSketch::Capacity(std::size_t level) const
{
    const double depth = static_cast<double>(m_levels.size() - 1 - level);
    const double c = std::ceil(m_k * std::pow(kShrink, depth));
    return std::max(kMinCapacity, static_cast<std::size_t>(c));
}

// The capacities change only with the number of levels; they are summed once per new level
std::size_t KrQuantileSketch::TotalCapacity() const
{
    if (m_capacityLevels != m_levels.size()) {
        m_capacity = 0;
        for (std::size_t h = 0; h < m_levels.size(); ++h) m_capacity += Capacity(h);
        m_capacityLevels = m_levels.size();
    }
    return m_capacity;
}

bool KrQuantileSketch::NextBit()
{
    // xorshift64: a reproducible coin, so that a run and its sketch can be repeated
    m_state ^= m_state << 13;
    m_state ^= m_state >> 7;
    m_state ^= m_state << 17;
    return (m_state >> 32) & 1;
}

void KrQuantileSketch::Add(double value)
{
    if (!std::isfinite(value)) {
        ++m_noData;
        return;
    }
    if (m_count == 0) m_min = m_max = value;
    m_min = std::min(m_min, value);
    m_max = std::max(m_max, value);
    ++m_count;
    m_levels[0].push_back(value);
    ++m_retained;
    if (m_retained >= TotalCapacity()) CompressWhileFull();
}

void KrQuantileSketch::AddNoData(std::int64_t count)
{
    if (count > 0) m_noData += count;
}

// Halves the lowest full level: sorted, every other value (from a random start) moves up a level
// with twice the weight; an odd value out stays behind so that the weights still add up.
void KrQuantileSketch::CompactLevel(std::size_t level)
{
    if (level + 1 == m_levels.size()) m_levels.emplace_back();
    std::vector<double>& items = m_levels[level];
    std::sort(items.begin(), items.end());
    const bool odd = items.size() % 2 == 1;
    const std::size_t start = odd ? 1 : 0;
    const std::size_t offset = NextBit() ? 1 : 0;
    std::vector<double>& up = m_levels[level + 1];
    for (std::size_t i = start + offset; i < items.size(); i += 2) up.push_back(items[i]);
    const std::size_t moved = (items.size() - start) / 2;
    items.resize(start);
    m_retained -= moved;
}

void KrQuantileSketch::CompressWhileFull()
{
    while (m_retained >= TotalCapacity()) {
        std::size_t h = 0;
        while (h < m_levels.size() && m_levels[h].size() < Capacity(h)) ++h;
        if (h == m_levels.size()) h = m_levels.size() - 1;
        CompactLevel(h);
    }
}

void KrQuantileSketch::Merge(const KrQuantileSketch& other)
{
    m_noData += other.m_noData;
    if (other.m_count == 0) return;
    if (m_count == 0) {
        m_min = other.m_min;
        m_max = other.m_max;
    }
    m_min = std::min(m_min, other.m_min);
    m_max = std::max(m_max, other.m_max);
    m_count += other.m_count;
    if (other.m_levels.size() > m_levels.size()) m_levels.resize(other.m_levels.size());
    for (std::size_t h = 0; h < other.m_levels.size(); ++h) {
        m_levels[h].insert(m_levels[h].end(), other.m_levels[h].begin(), other.m_levels[h].end());
        m_retained += other.m_levels[h].size();
    }
    CompressWhileFull();
}

double KrQuantileSketch::GetMin() const { return m_count ? m_min : kNaN; }
double KrQuantileSketch::GetMax() const { return m_count ? m_max : kNaN; }

double KrQuantileSketch::GetRank(double value) const
{
    double rank = 0.0;
    for (std::size_t h = 0; h < m_levels.size(); ++h) {
        const double weight = std::ldexp(1.0, static_cast<int>(h));
        for (double x : m_levels[h])
            if (x < value) rank += weight;
    }
    return rank;
}

void KrQuantileSketch::GetWeightedPoints(std::vector<double>& values, std::vector<double>& weights) const
{
    std::vector<std::pair<double, double>> points;
    points.reserve(m_retained);
    for (std::size_t h = 0; h < m_levels.size(); ++h) {
        const double weight = std::ldexp(1.0, static_cast<int>(h));
        for (double x : m_levels[h]) points.emplace_back(x, weight);
    }
    std::sort(points.begin(), points.end());
    values.clear();
    weights.clear();
    for (const auto& p : points) {
        if (!values.empty() && values.back() == p.first) {
            weights.back() += p.second;
        } else {
            values.push_back(p.first);
            weights.push_back(p.second);
        }
    }
}

double KrQuantileSketch::GetQuantile(double q) const
{
    if (m_count == 0 || std::isnan(q)) return kNaN;
    if (q <= 0.0) return m_min;
    if (q >= 1.0) return m_max;
    std::vector<double> values, weights;
    GetWeightedPoints(values, weights);
    const double target = q * static_cast<double>(m_count);
    double cumulated = 0.0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        cumulated += weights[i];
        if (cumulated > target) return values[i];
    }
    return m_max;
}

std::size_t KrQuantileSketch::GetRetained() const { return m_retained; }

std::size_t KrQuantileSketch::GetMemoryBytes() const
{
    std::size_t bytes = sizeof(*this) + m_levels.capacity() * sizeof(std::vector<double>);
    for (const auto& level : m_levels) bytes += level.capacity() * sizeof(double);
    return bytes;
}

std::string KrQuantileSketch::ToBytes() const
{
    KrByteCodec out;
    out.PutU64(kMagic);
    out.PutU64(static_cast<std::uint64_t>(m_k));
    out.PutU64(m_state);
    out.PutI64(m_count);
    out.PutI64(m_noData);
    out.PutDouble(m_min);
    out.PutDouble(m_max);
    out.PutU64(m_levels.size());
    for (const auto& level : m_levels) {
        out.PutU64(level.size());
        for (double x : level) out.PutDouble(x);
    }
    return out.Bytes();
}

bool KrQuantileSketch::FromBytes(const std::string& bytes)
{
    KrByteCodec in(bytes);
    if (in.GetU64() != kMagic) return false;
    const std::uint64_t k = in.GetU64();
    if (k < static_cast<std::uint64_t>(kMinK) || k > (1u << 24)) return false;
    KrQuantileSketch s(static_cast<int>(k), 1);
    s.m_state = in.GetU64();
    s.m_count = in.GetI64();
    s.m_noData = in.GetI64();
    s.m_min = in.GetDouble();
    s.m_max = in.GetDouble();
    const std::uint64_t levels = in.GetU64();
    if (!in.Ok() || levels < 1 || levels > kMaxLevels || s.m_state == 0) return false;
    s.m_levels.assign(levels, {});
    double weight = 0.0;
    for (std::uint64_t h = 0; h < levels; ++h) {
        const std::uint64_t size = in.GetU64();
        // Never size a level by a count the bytes cannot hold
        if (!in.Ok() || size > in.Left() / 8) return false;
        s.m_levels[h].resize(size);
        for (double& x : s.m_levels[h]) {
            x = in.GetDouble();
            if (!(x >= s.m_min && x <= s.m_max)) return false;
        }
        s.m_retained += size;
        weight += std::ldexp(static_cast<double>(size), static_cast<int>(h));
    }
    if (!in.Ok() || in.Left() != 0 || s.m_count < 0 || s.m_noData < 0 ||
        weight != static_cast<double>(s.m_count))
        return false;
    *this = std::move(s);
    return true;
}

} // namespace KRN
