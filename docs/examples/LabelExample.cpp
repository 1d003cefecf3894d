// Labels: the text of a field value by its kind and the number format.
#include <cstdio>

#include "GuidePlugin.h"
#include "KrTheme3DLabel.h"

using namespace BSX;
using namespace KRN;

int main()
{
    auto factory = LoadThemeFactory();
    auto theme = NewTheme<KrTheme3DLabel>(*factory, KrTheme3D::Theme3DLabel);
    theme->SetExpression(L"gdp_md_est");
    theme->SetNumFormat(L"%.2f");   // a format that cannot format a number is refused and logged
    theme->GetTextStyle()->SetSize(14.0);

    const BsxUnicodeString number = theme->GetStringFromVariant(BsxVariant(1234.5678));
    const BsxUnicodeString text = theme->GetStringFromVariant(BsxVariant(L"Lisbon"));
    std::printf("1234.5678 -> \"%s\", text -> \"%s\", size %.0f\n", number.ToUtf8().c_str(),
                text.ToUtf8().c_str(), theme->GetTextStyle()->GetSize());
    return number == L"1234.57" && text == L"Lisbon" ? 0 : 1;
}
