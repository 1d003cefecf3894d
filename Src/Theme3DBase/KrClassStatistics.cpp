#include "KrClassStatistics.h"

#include <cmath>
#include <limits>

#include "KrByteCodec.h"

namespace KRN {

namespace {
constexpr std::uint64_t kMagic = 0x3174617453443354ULL; // "T3DStat1"
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
} // namespace

void KrClassStatistics::Add(double value)
{
    if (!std::isfinite(value)) {
        ++m_noData;
        return;
    }
    if (m_count == 0) {
        m_min = m_max = value;
    } else {
        if (value < m_min) m_min = value;
        if (value > m_max) m_max = value;
    }
    ++m_count;
    // Welford's update: the squared deviations grow by the product of the deviations from the
    // old and the new mean, which keeps the sum non-negative and free of cancellation
    const double delta = value - m_mean;
    m_mean += delta / static_cast<double>(m_count);
    m_squares += delta * (value - m_mean);
    KeepMeanInRange();
}

void KrClassStatistics::AddNoData(std::int64_t count)
{
    if (count > 0) m_noData += count;
}

void KrClassStatistics::Merge(const KrClassStatistics& other)
{
    m_noData += other.m_noData;
    if (other.m_count == 0) return;
    if (m_count == 0) {
        const std::int64_t noData = m_noData;
        *this = other;
        m_noData = noData;
        return;
    }
    if (other.m_min < m_min) m_min = other.m_min;
    if (other.m_max > m_max) m_max = other.m_max;
    // Chan's pairwise combination of two parts' means and squared deviations
    const double na = static_cast<double>(m_count);
    const double nb = static_cast<double>(other.m_count);
    const double n = na + nb;
    const double delta = other.m_mean - m_mean;
    m_mean += delta * (nb / n);
    m_squares += other.m_squares + delta * delta * (na * nb / n);
    m_count += other.m_count;
    KeepMeanInRange();
}

// Rounding can carry the mean an ulp past an extreme; the mean of data never lies outside them
void KrClassStatistics::KeepMeanInRange()
{
    if (m_mean < m_min) m_mean = m_min;
    if (m_mean > m_max) m_mean = m_max;
}

double KrClassStatistics::GetMin() const { return m_count ? m_min : kNaN; }
double KrClassStatistics::GetMax() const { return m_count ? m_max : kNaN; }
double KrClassStatistics::GetMean() const { return m_count ? m_mean : kNaN; }
double KrClassStatistics::GetVariance() const { return m_count ? m_squares / static_cast<double>(m_count) : kNaN; }
double KrClassStatistics::GetStdev() const { return std::sqrt(GetVariance()); }

std::string KrClassStatistics::ToBytes() const
{
    KrByteCodec out;
    out.PutU64(kMagic);
    out.PutI64(m_count);
    out.PutI64(m_noData);
    out.PutDouble(m_min);
    out.PutDouble(m_max);
    out.PutDouble(m_mean);
    out.PutDouble(m_squares);
    return out.Bytes();
}

bool KrClassStatistics::FromBytes(const std::string& bytes)
{
    KrByteCodec in(bytes);
    if (in.GetU64() != kMagic) return false;
    KrClassStatistics s;
    s.m_count = in.GetI64();
    s.m_noData = in.GetI64();
    s.m_min = in.GetDouble();
    s.m_max = in.GetDouble();
    s.m_mean = in.GetDouble();
    s.m_squares = in.GetDouble();
    // A damaged string must not hand out statistics that no data could have
    const bool sane = s.m_count >= 0 && s.m_noData >= 0 &&
                      (s.m_count == 0 || (s.m_min <= s.m_mean && s.m_mean <= s.m_max && s.m_squares >= 0.0));
    if (!in.Ok() || in.Left() != 0 || !sane) return false;
    *this = s;
    return true;
}

} // namespace KRN
