#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "KrLogFile.h"
#include "KrTheme3DRange.h"
#include "KrThemeRules.h"

namespace KRN {

using BSX::BsxArray;

namespace {

constexpr double kTolerance = ThemeRules::kTolerance;
constexpr double kHalf = 0.5;
constexpr double kLogBase = 10.0;
constexpr double kMaxClassesReal = 32767.0;

bool IsZero(double q) { return -kTolerance < q && q < kTolerance; }

// The count-based classifications take any count up to a memory guard far above any map's
// use; a count past it is held to it and the log says so, since the caller gets fewer classes
// than asked for.
int ClampClasses(int count)
{
    if (count <= KrTheme3DRange::kMaxClassCount) return count;
    KrLogFile::GetInstance(false)->RecordLog(
        LOG_WARNING, L"T3DRange001",
        BSX::BsxUnicodeString(L"The class count was held to the largest count a classification makes."),
        L"..\\..\\..\\Src\\Theme3DBase\\KrTheme3DRangeClassify", __LINE__);
    return KrTheme3DRange::kMaxClassCount;
}

// Square-root scale extended to negative data by symmetry (the root of the magnitude with the
// sign kept), so that data below zero still gets ordered, evenly spaced breaks; for data at or
// above zero this is the plain square root.
double SignedRoot(double x) { return std::copysign(std::sqrt(std::fabs(x)), x); }
double SignedSquare(double y) { return std::copysign(y * y, y); }
double Same(double x) { return x; }
double Log10(double x) { return std::log10(x); }
double Exp10(double y) { return std::pow(kLogBase, y); }

// A scale that the count-based classifications cut into steps of equal width: the breaks are
// inverse(low + i * step) with low = forward(min).
struct Scale {
    double (*forward)(double);
    double (*inverse)(double);
    // A minimum counting as zero is the scale's origin 0 (so the logarithmic scale starts at
    // 10^0 = 1), and data counting as zero at both ends makes a flat scale, whose logarithms
    // would not be numbers
    bool zeroOrigin;
};
constexpr Scale kLinear{Same, Same, false};
constexpr Scale kSquareRoot{SignedRoot, SignedSquare, false};
constexpr Scale kLogarithm{Log10, Exp10, true};

// Where the two generations of classifiers put their breaks for n classes. The older one
// divides the scale into n - 2 steps and runs i = 0 .. n - 2, so the lowest value and max are
// breaks themselves; the newer one divides it into n steps and runs i = 1 .. n - 1, the interior
// breaks only. Their fixed-width walks differ the same way: the older starts at min and ends at
// the first break at or past max, the newer starts one width up and ends one width earlier.
struct Generation {
    int first;          // index of the first break
    int lastBelowN;     // the last break's index is n - lastBelowN
    int stepsBelowN;    // the scale is cut into n - stepsBelowN steps; none leaves the step 0
    bool stopWidthEarly; // the fixed-width walk ends at max - width instead of max
};
constexpr Generation kOlder{0, 2, 2, false};
constexpr Generation kNewer{1, 1, 0, true};

// Breaks of count classes on a scale, in ascending order of i
std::vector<double> ScaleBreaks(const Scale& scale, const Generation& generation, int count, double max, double min)
{
    const int n = ClampClasses(count);
    // Fewer than two classes make no break in either generation
    if (n < 2) return {};
    const bool zeroMin = scale.zeroOrigin && IsZero(min);
    const double low = zeroMin ? 0.0 : scale.forward(min);
    const double span = zeroMin && IsZero(max) ? 0.0 : scale.forward(max) - low;
    const int steps = n - generation.stepsBelowN;
    const double step = steps > 0 ? span / steps : 0.0;
    std::vector<double> breaks;
    breaks.reserve(static_cast<std::size_t>(n));
    for (int i = generation.first; i <= n - generation.lastBelowN; ++i) breaks.push_back(scale.inverse(low + i * step));
    return breaks;
}

// Breaks of the fixed-width walk. A zero width or data range, or more classes than the limit,
// gives the single break min. A negative or NaN width would walk away from max for ever and gives
// none. The walk is also held to the class limit, since min + i*s can stall where s is below
// min's precision.
std::vector<double> WidthBreaks(const Generation& generation, double interval, double max, double min)
{
    const double range = max - min;
    const double s = IsZero(range) ? 0.0 : interval;
    if (IsZero(s) || range / s > kMaxClassesReal) return {min};
    const double end = generation.stopWidthEarly ? max - s : max;
    if (!(s > 0.0) || !(end > min)) return {};
    std::vector<double> breaks;
    for (int i = generation.first; i <= KrTheme3DRange::kMaxClasses + 1; ++i) {
        const double b = min + i * s;
        breaks.push_back(b);
        if (!(b < end)) break;
    }
    return breaks;
}

} // namespace

void KrTheme3DRange::AddBreak(double value, const KrTheme3DItem& item)
{
    if (std::isfinite(value)) Add(value, item);
}

void KrTheme3DRange::AddBreaks(const std::vector<double>& breaks)
{
    const KrTheme3DItem item;
    for (double b : breaks) AddBreak(b, item);
}

bool KrTheme3DRange::MakeDefault(int method, int count, const BsxArray<double>& values, BsxArray<double> quantileBreaks,
                                 double interval)
{
    if (count < 2 || values.GetSize() < 2) return false;
    RemoveAll();
    const double min = values[0];
    const double max = values[values.GetSize() - 1];
    KrClass3DType type = static_cast<KrClass3DType>(method);
    switch (method) {
    case Class3DExtraction: ClassifyWithExtractionNew(count, max, min); break;
    case Class3DStdev: ClassifyWithStdev(values); break;
    case Class3DLogarithm: ClassifyWithLogarithmNew(count, max, min); break;
    case Class3DQuantile: ClassifyWithQuantileNew(count, values.GetSize(), quantileBreaks); break;
    case Class3DCustomInterval: ClassifyWithCustomIntervalNew(interval, max, min); break;
    default:
        type = Class3DEqualDistance;
        ClassifyWithEqualDistanceNew(count, max, min);
        break;
    }
    ClassType = type;
    return true;
}

BsxArray<double> KrTheme3DRange::QuantileBreaks(const BsxArray<double>& values, int count)
{
    BsxArray<double> breaks;
    const std::int64_t m = values.GetSize();
    if (count < 2 || m < 2) return breaks;
    // More classes than values would only repeat values
    const std::int64_t n = std::min<std::int64_t>(ClampClasses(count), m);
    breaks.Reserve(static_cast<int>(n - 1));
    for (std::int64_t k = 1; k < n; ++k) {
        const double b = values[static_cast<int>(k * m / n)];
        // Repeated values give one break: the whole run of equal values lies in one class
        if (breaks.IsEmpty() || !(breaks[breaks.GetSize() - 1] == b)) breaks.Add(b);
    }
    return breaks;
}

// Both generations: one walk per scale --------------------------------------------------

void KrTheme3DRange::ClassifyWithEqualDistanceNew(int count, double max, double min)
{
    AddBreaks(ScaleBreaks(kLinear, kNewer, count, max, min));
}

void KrTheme3DRange::ClassifyWithExtractionNew(int count, double max, double min)
{
    AddBreaks(ScaleBreaks(kSquareRoot, kNewer, count, max, min));
}

// Logarithms of negative data are not numbers; AddBreak leaves such breaks out, so a scale
// over data below zero (other than a minimum counting as zero) makes no ranges.
void KrTheme3DRange::ClassifyWithLogarithmNew(int count, double max, double min)
{
    AddBreaks(ScaleBreaks(kLogarithm, kNewer, count, max, min));
}

void KrTheme3DRange::ClassifyWithCustomIntervalNew(double interval, double max, double min)
{
    AddBreaks(WidthBreaks(kNewer, interval, max, min));
}

void KrTheme3DRange::ClassifyWithEqualDistance(int count, double max, double min)
{
    AddBreaks(ScaleBreaks(kLinear, kOlder, count, max, min));
}

void KrTheme3DRange::ClassifyWithExtraction(int count, double max, double min)
{
    AddBreaks(ScaleBreaks(kSquareRoot, kOlder, count, max, min));
}

void KrTheme3DRange::ClassifyWithLogarithm(int count, double max, double min)
{
    AddBreaks(ScaleBreaks(kLogarithm, kOlder, count, max, min));
}

void KrTheme3DRange::ClassifyWithCustomInterval(double interval, double max, double min)
{
    AddBreaks(WidthBreaks(kOlder, interval, max, min));
}

void KrTheme3DRange::ClassifyWithQuantileNew(int, int, BsxArray<double> breaks)
{
    const KrTheme3DItem item;
    for (double b : breaks) AddBreak(b, item);
}

// Standard deviation ----------------------------------------------------------------

void KrTheme3DRange::Stdev(const BsxArray<double>& values, double& mean, double& stdev) const
{
    mean = 0.0;
    stdev = 0.0;
    const int m = values.GetSize();
    if (m < 1) return;
    double sum = 0.0;
    for (double x : values) sum += x;
    mean = sum / m;
    double squares = 0.0;
    for (double x : values) squares += (x - mean) * (x - mean);
    stdev = std::sqrt(squares / m);
}

void KrTheme3DRange::ClassifyWithStdev(const BsxArray<double>& values)
{
    if (values.GetSize() < 1) return;
    double mean = 0.0, sigma = 0.0;
    Stdev(values, mean, sigma);
    ClassifyAroundMean(mean, sigma, values[0], values[values.GetSize() - 1]);
}

void KrTheme3DRange::ClassifyAroundMean(double mean, double sigma, double min, double max)
{
    // Data with NaN or infinities has no usable mean or spread: no ranges
    if (!std::isfinite(mean) || !std::isfinite(sigma)) return;
    const KrTheme3DItem item;
    const double lower = mean - kHalf * sigma;
    const double upper = mean + kHalf * sigma;

    // No value lies more than sqrt(m) deviations from the mean, so the walks end long before
    // the class limit; the limit only guards against rounding in extreme data.
    double b = lower;
    for (int i = 0; b > min && i <= kMaxClassCount; ++i) {
        b = lower - i * sigma;
        if (b < min || IsZero(b - min)) b = min;
        InsertAt(0, b, item);
    }
    if (GetValueCount() >= 1) RemoveAt(0, 1);

    b = lower;
    for (int j = 0; max > b && j <= kMaxClassCount; ++j) {
        b = upper + j * sigma;
        if (b > max || IsZero(b - max)) b = max;
        InsertAt(GetValueCount(), b, item);
    }
    if (GetValueCount() >= 1) RemoveAt(GetValueCount() - 1, 1);
}

} // namespace KRN
