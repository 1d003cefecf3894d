#pragma once
// Mergeable quantile sketch of a numeric stream (a KLL sketch): a few thousand retained values,
// each standing for 2^level values of the stream, answer ranks and quantiles of any number of
// values within a rank error of about kRankError * count. Sketches of parts merge into the
// sketch of the whole, in any split and any order, and travel between processes as byte
// strings (ToBytes/FromBytes). No data (NaN, infinities, host NULLs) is counted apart.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Theme3DBaseExport.h"

namespace KRN {

/// Mergeable quantile sketch of a numeric stream: ranks and quantiles within a small rank error
class TR_THEME3D_API KrQuantileSketch {
public:
    /// Accuracy parameter of the default sketch: the top level keeps k values
    static constexpr int kDefaultK = 1024;
    /// Rank error of a default sketch, as a share of the count: at most this far off in every
    /// measured query (benchmark and tests, 10^3 to 10^8 values, any merge order)
    static constexpr double kRankError = 0.005;

    /// k from 8 up; seed drives the coin that picks which half of a level moves up
    explicit KrQuantileSketch(int k = kDefaultK, std::uint64_t seed = 0x9E3779B97F4A7C15ULL);

    /// One value; NaN and infinities are counted as no data
    void Add(double value);
    /// Values the host reports as NULL
    void AddNoData(std::int64_t count = 1);
    /// Folds another sketch in; the accuracy stays that of this sketch's k
    void Merge(const KrQuantileSketch& other);

    /// Number of finite values added, and of the values left out as no data
    ///@{
    std::int64_t GetCount() const { return m_count; }
    std::int64_t GetNoDataCount() const { return m_noData; }
    ///@}
    /// Exact minimum and maximum; NaN for an empty sketch
    ///@{
    double GetMin() const;
    double GetMax() const;
    ///@}
    /// Estimated number of values below value
    double GetRank(double value) const;
    /// A retained value at normalised rank q (0 the minimum, 1 the maximum): the first value whose
    /// cumulated weight passes q * count; NaN for an empty sketch
    double GetQuantile(double q) const;
    /// Retained values in ascending order with their weights (equal values joined); the weights
    /// add up to GetCount()
    void GetWeightedPoints(std::vector<double>& values, std::vector<double>& weights) const;
    /// Values held, and the bytes the sketch occupies
    ///@{
    std::size_t GetRetained() const;
    std::size_t GetMemoryBytes() const;
    ///@}

    /// Byte string of the sketch (little-endian, versioned) and back; FromBytes answers false and
    /// leaves the sketch unchanged for a string it did not write
    ///@{
    std::string ToBytes() const;
    bool FromBytes(const std::string& bytes);
    ///@}

private:
    std::size_t Capacity(std::size_t level) const;
    std::size_t TotalCapacity() const;
    void CompressWhileFull();
    void CompactLevel(std::size_t level);
    bool NextBit();

    int m_k;
    std::uint64_t m_state;
    std::int64_t m_count = 0;
    std::int64_t m_noData = 0;
    double m_min = 0.0;
    double m_max = 0.0;
    std::size_t m_retained = 0;
    std::vector<std::vector<double>> m_levels;
    mutable std::size_t m_capacity = 0;
    mutable std::size_t m_capacityLevels = 0;
};

} // namespace KRN
