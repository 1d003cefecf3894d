#pragma once
// Exact running statistics of a numeric field, built from parts: values are added one by one
// or a whole accumulator at a time (Merge), in any split and any order, and the result is the
// one of the whole data up to the rounding of the last bits of the mean and variance. No data
// (NaN, infinities, values the host reports as NULL) is counted apart and takes no part in the
// statistics. An accumulator travels between processes as a byte string (ToBytes/FromBytes).
#include <cstdint>
#include <string>

#include "Theme3DBaseExport.h"

namespace KRN {

/// Exact running statistics of a numeric field, mergeable across pieces of the data
class TR_THEME3D_API KrClassStatistics {
public:
    /// One value; NaN and infinities are counted as no data
    void Add(double value);
    /// Values the host reports as NULL
    void AddNoData(std::int64_t count = 1);
    /// Folds another accumulator in (pairwise update of mean and squared deviations)
    void Merge(const KrClassStatistics& other);

    /// Number of finite values, and of the values left out as no data
    ///@{
    std::int64_t GetCount() const { return m_count; }
    std::int64_t GetNoDataCount() const { return m_noData; }
    ///@}
    /// Minimum, maximum and mean of the finite values; NaN when there are none
    ///@{
    double GetMin() const;
    double GetMax() const;
    double GetMean() const;
    ///@}
    /// Sum of squared deviations from the mean, the population variance (divisor count) and its root
    ///@{
    double GetSquaredDeviations() const { return m_squares; }
    double GetVariance() const;
    double GetStdev() const;
    ///@}

    /// Byte string of the accumulator (little-endian, versioned) and back; FromBytes answers
    /// false and leaves the accumulator unchanged for a string it did not write
    ///@{
    std::string ToBytes() const;
    bool FromBytes(const std::string& bytes);
    ///@}

private:
    void KeepMeanInRange();

    std::int64_t m_count = 0;
    std::int64_t m_noData = 0;
    double m_min = 0.0;
    double m_max = 0.0;
    double m_mean = 0.0;
    double m_squares = 0.0;
};

} // namespace KRN
