// Unique values: one item per continent, the default style for every other value.
#include <cstdio>

#include "GuidePlugin.h"
#include "KrTheme3DUnique.h"

using namespace BSX;
using namespace KRN;

int main()
{
    auto factory = LoadThemeFactory();
    auto theme = NewTheme<KrTheme3DUnique>(*factory, KrTheme3D::Theme3DUnique);
    theme->SetExpression(L"continent");

    KrTheme3DItem europe;
    europe.Caption = L"Europe";
    europe.Style.SetFillColor(KrColorValue3D(0.2, 0.5, 0.7, 1.0));
    theme->Add(L"Europe", europe); // the theme keeps its own copy

    const KrStyle* style = theme->FindStyle(BsxVariant(L"Europe"));
    const KrStyle* other = theme->FindStyle(BsxVariant(L"Oceania"));
    std::printf("Europe -> blue %.1f; Oceania -> %s\n", style->GetFillColor().b,
                other == &theme->GetDefaultStyle() ? "default style" : "?");
    std::printf("query field: %s\n", theme->GetFieldName(true).ToUtf8().c_str());
    return style != other && other == &theme->GetDefaultStyle() ? 0 : 1;
}
