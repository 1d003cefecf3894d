#pragma once
// Classifications of a field's values beside the range theme's own six: natural breaks (the
// least within-class sum of squares, exact), round-number breaks, geometric intervals, head/tail
// breaks and calendar breaks of dates. A classifier takes the values in any order, leaves out
// no data (NaN, infinities and the host's NULLs, which are counted), and sorts them once; each
// method answers ascending breaks, which the range theme takes as caller-computed breaks
// (MakeDefault method 4), with the count, minimum, maximum and mean of every class and the
// goodness of variance fit. A classifier built from a quantile sketch works on the sketch's
// weighted values instead, for data too large to hold.
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "Theme3DBaseExport.h"

namespace KRN {

class KrQuantileSketch;

/// The range theme's codes 0 to 5, then the methods that hand their breaks over as code 4
enum class KrClassMethod : int {
    EqualInterval = 0,
    SquareRoot = 1,
    Stdev = 2,
    Logarithm = 3,
    Quantile = 4,
    FixedInterval = 5,
    Natural = 6,
    Pretty = 7,
    Geometric = 8,
    HeadTail = 9,
    Calendar = 10,
};

/// Calendar unit of date breaks
enum class KrCalendarUnit : int { None, Year, Month, Day, Hour, Minute, Second };

/// One class: values b(i-1) <= x < b(i); an empty class has NaN extremes and mean
struct KrClassSummary {
    /// Number of values, their extremes and mean
    ///@{
    std::int64_t count = 0;
    double min = std::numeric_limits<double>::quiet_NaN();
    double max = std::numeric_limits<double>::quiet_NaN();
    double mean = std::numeric_limits<double>::quiet_NaN();
    ///@}
};

/// A classification's breaks with the statistics of its classes and its goodness of fit
struct KrClassification {
    KrClassMethod method = KrClassMethod::EqualInterval; ///< the method that made the breaks
    /// Ascending breaks; classes has one entry more (the whole data when there is no break)
    ///@{
    std::vector<double> breaks;
    std::vector<KrClassSummary> classes;
    ///@}
    /// Goodness of variance fit: 1 - (squared deviations from the class means) / (squared
    /// deviations from the mean); 1 for data without spread, NaN without data
    double gvf = std::numeric_limits<double>::quiet_NaN();
    std::int64_t count = 0;  ///< values classified
    std::int64_t noData = 0; ///< values left out: NaN, infinities and the host's NULLs
    /// Calendar breaks: their unit and how many units one class spans
    ///@{
    KrCalendarUnit unit = KrCalendarUnit::None;
    int step = 0;
    ///@}
    /// Computed from a sketch: counts and breaks are estimates within the sketch's rank error
    bool approximate = false;
};

/// Classifications of a field's values beside the range theme's own six, with class statistics
class TR_THEME3D_API KrClassifier {
public:
    /// values in any order; hostNulls are the features whose field the host reported as NULL
    explicit KrClassifier(const std::vector<double>& values, std::int64_t hostNulls = 0);
    /// The sketch's retained values with their weights. Every method then works on that summary:
    /// natural breaks are the optimal ones for the weighted values, and each break is a retained
    /// data value whose rank in the whole data is known within the sketch's rank error, so a
    /// class count is off by at most twice that error times the count
    explicit KrClassifier(const KrQuantileSketch& sketch);

    /// Distinct finite values ascending, and how many values each stands for
    ///@{
    const std::vector<double>& GetValues() const { return m_values; }
    const std::vector<double>& GetWeights() const { return m_weights; }
    ///@}
    /// Values classified, and values left out as no data
    ///@{
    std::int64_t GetCount() const { return m_count; }
    std::int64_t GetNoDataCount() const { return m_noData; }
    ///@}

    /// Least within-class sum of squares over all partitions into count classes (fewer when
    /// there are fewer distinct values); dynamic programme, O(count * n log n)
    KrClassification Natural(int count) const;
    /// Multiples of one step of 1, 2 or 5 times a power of ten, the step that gives the number of
    /// classes nearest to count (the coarser one on a tie)
    KrClassification Pretty(int count) const;
    /// count classes whose widths grow (or shrink) by one ratio, the ratio that spreads the values
    /// most evenly (least sum of squared class counts); equal intervals are the ratio 1
    KrClassification Geometric(int count) const;
    /// Breaks at the mean, then the mean of the values at or above it, and so on while those
    /// values are at most 40 % of the part they came from (the first break is always made);
    /// the data decide the number of classes, count only caps it
    KrClassification HeadTail(int count) const;
    /// Values read as the host's dates (OLE dates): breaks on years, months, days, hours, minutes
    /// or seconds, the unit and step whose class count is nearest to count
    KrClassification Calendar(int count) const;
    /// Break k is the first value past k / count of the values, as the range theme's quantile
    /// rule, less a break at the minimum (it would bound an empty class)
    KrClassification Quantile(int count) const;
    /// Classes and fit of any ascending breaks (those of the six codes included)
    KrClassification Describe(KrClassMethod method, const std::vector<double>& breaks) const;

    /// "equal", "sqrt", "stdev", "log", "quantile", "interval", "natural", "pretty", "geometric",
    /// "headtail", "calendar"; one line of description each
    ///@{
    static const char* MethodName(KrClassMethod method);
    static const char* MethodDescription(KrClassMethod method);
    ///@}
    /// A name of MethodName or a code 0 to 10; false for anything else
    static bool MethodFromName(const std::string& name, KrClassMethod& method);
    /// A date printed to the unit: "2021", "2021-03", "2021-03-04", "2021-03-04 06:00",
    /// "2021-03-04 06:00:30"
    static std::string FormatDate(double oleDate, KrCalendarUnit unit);

private:
    void Collect(std::vector<double>& sorted);
    /// Index of the first distinct value at or above x
    std::size_t LowerIndex(double x) const;
    /// Weight of the values with index below i
    double WeightBelow(std::size_t i) const { return m_cumulated[i]; }

    std::vector<double> m_values;
    std::vector<double> m_weights;
    std::vector<double> m_cumulated;
    std::int64_t m_count = 0;
    std::int64_t m_noData = 0;
    bool m_approximate = false;
};

} // namespace KRN
