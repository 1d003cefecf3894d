#pragma once
// Access to the range theme's protected parts for the tests, and small helpers.
#include <vector>

#include "BsxArray.h"
#include "KrStyle.h"
#include "KrTheme3DRange.h"
#include "TestSupport.h"

namespace T3DTest {

class Range : public KRN::KrTheme3DRange {
public:
    using KRN::KrTheme3DRange::ClassifyWithCustomInterval;
    using KRN::KrTheme3DRange::ClassifyWithCustomIntervalNew;
    using KRN::KrTheme3DRange::ClassifyWithEqualDistance;
    using KRN::KrTheme3DRange::ClassifyWithExtraction;
    using KRN::KrTheme3DRange::ClassifyWithLogarithm;
    using KRN::KrTheme3DRange::ClassifyWithStdev;
    using KRN::KrTheme3DRange::FindThemeItem;
    using KRN::KrTheme3DRange::Stdev;
    void SetDescending(bool descending) { Descending = descending; }
};

// first, first+1, ..., last
inline BSX::BsxArray<double> Sequence(int first, int last)
{
    BSX::BsxArray<double> a;
    for (int v = first; v <= last; ++v) a.Add(v);
    return a;
}

inline std::vector<double> Breaks(const KRN::KrTheme3DRange& r)
{
    std::vector<double> b;
    for (int i = 0; i < r.GetValueCount(); ++i) b.push_back(r.GetValueAt(i));
    return b;
}

// Index of the item whose style a lookup answers; -1 for none
inline int ItemOf(const KRN::KrTheme3DRange& r, double value)
{
    const KRN::KrStyle* style = r.FindStyle(value);
    if (!style) return -1;
    for (int k = 0; k < r.GetCount(); ++k)
        if (&r.GetAt(k)->Style == style) return k;
    return -2;
}

} // namespace T3DTest
