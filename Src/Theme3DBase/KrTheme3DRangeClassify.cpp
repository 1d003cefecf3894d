#include <algorithm>
#include <cmath>
#include <cstdint>

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

} // namespace

void KrTheme3DRange::AddBreak(double value, const KrTheme3DItem& item)
{
    if (std::isfinite(value)) Add(value, item);
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

// Newer generation: n classes over [min, max] -------------------------------------------

void KrTheme3DRange::ClassifyWithEqualDistanceNew(int count, double max, double min)
{
    const int n = ClampClasses(count);
    if (n < 2) return;
    const KrTheme3DItem item;
    const double step = (max - min) / n;
    for (int i = 1; i < n; ++i) AddBreak(min + i * step, item);
}

void KrTheme3DRange::ClassifyWithExtractionNew(int count, double max, double min)
{
    const int n = ClampClasses(count);
    if (n < 2) return;
    const KrTheme3DItem item;
    const double low = SignedRoot(min);
    const double step = (SignedRoot(max) - low) / n;
    for (int i = 1; i < n; ++i) AddBreak(SignedSquare(low + i * step), item);
}

// Logarithms of negative data are not numbers; AddBreak leaves such breaks out, so a scale
// over data below zero (other than a minimum counting as zero) makes no ranges.
void KrTheme3DRange::ClassifyWithLogarithmNew(int count, double max, double min)
{
    const int n = ClampClasses(count);
    if (n < 2) return;
    const KrTheme3DItem item;
    const bool zeroMin = IsZero(min);
    const double low = zeroMin ? 0.0 : std::log10(min);
    double step = 0.0;
    if (!zeroMin) step = (std::log10(max) - std::log10(min)) / n;
    else if (!IsZero(max)) step = std::log10(max) / n;
    for (int i = 1; i < n; ++i) AddBreak(std::pow(kLogBase, low + i * step), item);
}

double KrTheme3DRange::FixedWidth(double interval, double max, double min, const KrTheme3DItem& item)
{
    const double range = max - min;
    const double s = IsZero(range) ? 0.0 : interval;
    if (IsZero(s) || range / s > kMaxClassesReal) {
        AddBreak(min, item);
        return 0.0;
    }
    return s > 0.0 ? s : 0.0;
}

// A negative or NaN width would walk away from max for ever; it makes no ranges. The walk is
// also held to the class limit, since min + i*s can stall where s is below min's precision.
void KrTheme3DRange::ClassifyWithCustomIntervalNew(double interval, double max, double min)
{
    const KrTheme3DItem item;
    const double s = FixedWidth(interval, max, min, item);
    if (!(s > 0.0) || !(max - s > min)) return;
    const double last = max - s;
    for (int i = 1; i <= kMaxClasses + 1; ++i) {
        const double b = min + i * s;
        AddBreak(b, item);
        if (!(b < last)) break;
    }
}

void KrTheme3DRange::ClassifyWithQuantileNew(int, int, BsxArray<double> breaks)
{
    const KrTheme3DItem item;
    for (double b : breaks) AddBreak(b, item);
}

// Older generation: breaks from the lowest value up to max --------------------------------

void KrTheme3DRange::ClassifyWithEqualDistance(int count, double max, double min)
{
    const int n = ClampClasses(count);
    const KrTheme3DItem item;
    const double step = n > 2 ? (max - min) / (n - 2) : 0.0;
    for (int i = 0; i <= n - 2; ++i) AddBreak(min + i * step, item);
}

void KrTheme3DRange::ClassifyWithExtraction(int count, double max, double min)
{
    const int n = ClampClasses(count);
    const KrTheme3DItem item;
    const double low = SignedRoot(min);
    const double step = n > 2 ? (SignedRoot(max) - low) / (n - 2) : 0.0;
    for (int i = 0; i <= n - 2; ++i) AddBreak(SignedSquare(low + i * step), item);
}

void KrTheme3DRange::ClassifyWithLogarithm(int count, double max, double min)
{
    const int n = ClampClasses(count);
    const KrTheme3DItem item;
    const bool zeroMin = IsZero(min);
    const double low = zeroMin ? 0.0 : std::log10(min);
    double step = 0.0;
    if (n > 2 && !(zeroMin && IsZero(max))) step = (std::log10(max) - low) / (n - 2);
    for (int i = 0; i <= n - 2; ++i) AddBreak(std::pow(kLogBase, low + i * step), item);
}

void KrTheme3DRange::ClassifyWithCustomInterval(double interval, double max, double min)
{
    const KrTheme3DItem item;
    const double s = FixedWidth(interval, max, min, item);
    if (!(s > 0.0) || !(max > min)) return;
    for (int i = 0; i <= kMaxClasses + 1; ++i) {
        const double b = min + i * s;
        AddBreak(b, item);
        if (!(b < max)) break;
    }
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
