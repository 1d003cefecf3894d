// Ranges: four quantile classes of a population field, then a lookup per value.
#include <cstdio>

#include "GuidePlugin.h"
#include "KrTheme3DRange.h"

using namespace BSX;
using namespace KRN;

int main()
{
    auto factory = LoadThemeFactory();
    auto theme = NewTheme<KrTheme3DRange>(*factory, KrTheme3D::Theme3DRange);
    theme->SetExpression(L"pop_est");

    BsxArray<double> values; // the field's values, ascending
    for (double v : {1.0, 2.0, 3.0, 5.0, 8.0, 13.0, 21.0, 34.0}) values.Add(v);
    const BsxArray<double> breaks = KrTheme3DRange::QuantileBreaks(values, 4);
    if (!theme->MakeDefault(Class3DQuantile, 4, values, breaks, 0.0)) return 1;

    // n breaks cut the values into n + 1 ranges, each with its own item
    for (int i = 0; i < theme->GetValueCount(); ++i)
        std::printf("break %d at %g\n", i, theme->GetValueAt(i));
    const KrStyle* low = theme->FindStyle(2.0);
    const KrStyle* high = theme->FindStyle(30.0);
    std::printf("2 and 30 fall in %s ranges\n", low && high && low != high ? "different" : "the same");
    return theme->GetCount() == 4 && low && high && low != high ? 0 : 1;
}
