// Custom styles: the fill colour and extrusion height of each feature read from its fields.
#include <cstdio>

#include "BsxColor.h"
#include "GuidePlugin.h"
#include "KrFeature.h"
#include "KrStyle.h"
#include "KrTheme3DCustom.h"

using namespace BSX;
using namespace KRN;

int main()
{
    auto factory = LoadThemeFactory();
    auto theme = NewTheme<KrTheme3DCustom>(*factory, KrTheme3D::Theme3DCustom);
    theme->FillForeColor = L"colour";   // a packed colour, red in the low byte
    theme->ExtendHeight = L"height";

    KrFeature feature(new KrGeometry(KrGeometry::GEO_REGION));
    feature.SetField(L"colour", BsxVariant(static_cast<int>(BSXRGB(255, 0, 0))));
    feature.SetField(L"height", BsxVariant(250.0));

    KrStyle style;
    const bool styled = theme->FindStyle(&feature, style);
    std::printf("styled: %s, fill red %.1f, height %.0f\n", styled ? "yes" : "no", style.GetFillColor().r,
                style.GetExtendHeight());
    return styled && style.GetFillColor().r == 1.0 && style.GetExtendHeight() == 250.0f ? 0 : 1;
}
