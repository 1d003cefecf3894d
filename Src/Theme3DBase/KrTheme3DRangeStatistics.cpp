#include "KrClassStatistics.h"
#include "KrTheme3DRange.h"

namespace KRN {

bool KrTheme3DRange::MakeDefault(int method, int count, const KrClassStatistics& statistics,
                                 BSX::BsxArray<double> quantileBreaks, double interval)
{
    if (count < 2 || statistics.GetCount() < 2) return false;
    if (method != Class3DStdev) {
        // Every other method reads only the first and last value
        BSX::BsxArray<double> extremes;
        extremes.Add(statistics.GetMin());
        extremes.Add(statistics.GetMax());
        return MakeDefault(method, count, extremes, quantileBreaks, interval);
    }
    RemoveAll();
    ClassifyAroundMean(statistics.GetMean(), statistics.GetStdev(), statistics.GetMin(), statistics.GetMax());
    ClassType = Class3DStdev;
    return true;
}

} // namespace KRN
