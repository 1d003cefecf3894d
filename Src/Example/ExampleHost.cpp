// Plays a host for a unique-values theme: builds it for a few values, answers lookups,
// writes its XML document, reads it back into a new theme and prints what happened.
#include <cstdio>

#include "BsxColor.h"
#include "BsxVariant.h"
#include "KrTheme3DItem.h"
#include "KrTheme3DUnique.h"

using namespace BSX;
using namespace KRN;

namespace {
KrTheme3DItem MakeItem(const wchar_t* caption, double r, double g, double b)
{
    KrTheme3DItem item;
    item.Caption = caption;
    item.Style.SetFillColor(KrColorValue3D(r, g, b, 1.0));
    return item;
}

void Describe(const KrTheme3DUnique& theme, const BsxVariant& value)
{
    const KrStyle* style = theme.FindStyle(value);
    std::printf("  %-10s -> ", value.ToString().ToUtf8().c_str());
    if (!style) {
        std::printf("no style (invisible item)\n");
    } else if (style == &theme.GetDefaultStyle()) {
        std::printf("default style\n");
    } else {
        const KrColorValue3D& c = style->GetFillColor();
        std::printf("fill (%.2f, %.2f, %.2f)\n", c.r, c.g, c.b);
    }
}
} // namespace

int main()
{
    KrTheme3DUnique theme;
    theme.SetExpression(L"continent");
    theme.Add(L"Africa", MakeItem(L"Africa", 0.89, 0.10, 0.11));
    theme.Add(L"Europe", MakeItem(L"Europe", 0.22, 0.49, 0.72));
    theme.Add(L"Asia", MakeItem(L"Asia", 0.30, 0.69, 0.29));
    theme.Add(L"2.5", MakeItem(L"Two and a half", 0.60, 0.31, 0.64));
    KrTheme3DItem hidden = MakeItem(L"Antarctica", 1, 1, 1);
    hidden.Visible = false;
    theme.Add(L"Antarctica", hidden);

    std::printf("Unique theme on '%s' with %d values; query field '%s'\n", theme.GetExpression().ToUtf8().c_str(),
                theme.GetCount(), theme.GetFieldName(true).ToUtf8().c_str());
    std::printf("Lookups:\n");
    for (const BsxVariant& v : {BsxVariant(L"Europe"), BsxVariant(L"Oceania"), BsxVariant(L"Antarctica"), BsxVariant(2.50)})
        Describe(theme, v);

    const BsxUnicodeString xml = theme.ToXML(0, L"");
    std::printf("Document (%d characters):\n%s\n", xml.GetLength(), xml.ToUtf8().c_str());

    KrTheme3DUnique restored;
    const bool ok = restored.FromXML(xml, 0, L"");
    std::printf("Read back: %s, %d values, first '%s', same document again: %s\n", ok ? "ok" : "FAILED",
                restored.GetCount(), restored.GetCount() > 0 ? restored.GetValueAt(0).ToUtf8().c_str() : "",
                restored.ToXML(0, L"") == xml ? "yes" : "NO");
    return ok && restored.ToXML(0, L"") == xml ? 0 : 1;
}
