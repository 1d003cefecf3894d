// Charts: two fields as bars, the layer's extreme totals, the refresh cycle, one feature drawn.
#include <cstdio>
#include <memory>

#include "GuidePlugin.h"
#include "KrGeoCompound.h"
#include "KrTheme3DGraph.h"

using namespace BSX;
using namespace KRN;

int main()
{
    auto factory = LoadThemeFactory();
    auto theme = NewTheme<KrTheme3DGraph>(*factory, KrTheme3D::Theme3DGraph);
    theme->SetGraphType(KrTheme3DGraph::GraphBar);
    theme->Add(L"pop_est");
    theme->Add(L"gdp_md_est");
    // Smallest and largest total of the layer, its extent in degrees and its feature count
    theme->CalExtremumvValue(10.0, 1000.0, BsxRect2D(-10.0, 35.0, 30.0, 70.0), 40, false);

    // Edits change the working chart; drawing reads the chart handed over by the refresh cycle
    theme->PrepareTheme();
    theme->UpdateTheme();

    double values[] = {120.0, 380.0}; // this feature's values of the two fields
    std::unique_ptr<KrGeometry> chart(theme->ConvertToGeometry(values, 2, BsxPoint3D(9.1, 38.7, 0.0)));
    const auto* bars = dynamic_cast<KrGeoCompound*>(chart.get());
    std::printf("chart of %d pieces for a total of 500\n", bars ? bars->GetCount() : 0);
    return bars && bars->GetCount() >= 2 ? 0 : 1;
}
