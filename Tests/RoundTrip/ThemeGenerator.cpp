#include "ThemeGenerator.h"

#include <cmath>

#include "BsxColor.h"

namespace T3DTest {

using BSX::BsxUnicodeString;

double ThemeGenerator::Real()
{
    const double magnitude = std::pow(10.0, Int(-6, 12));
    double value = std::uniform_real_distribution<double>(1.0, 10.0)(m_rng) * magnitude;
    if (Int(0, 3) == 0) value = std::floor(value);
    return Flag() ? -value : value;
}

BsxUnicodeString ThemeGenerator::Text(int maxLength)
{
    // Pieces that a writer must escape or keep: markup characters, inner spaces, several
    // scripts and a character outside the basic plane
    static const wchar_t* const pieces[] = {L"a", L"Z", L"7", L"_", L"<", L">", L"&", L"\"", L"'", L" ",
                                            L"%", L"[#]", L"\u4e2d", L"\u6587", L"\u0639\u0631\u0628",
                                            L"\u0416", L"\u00e9", L"\U0001F600", L"X<", L"<=X<"};
    const int pieceCount = static_cast<int>(sizeof pieces / sizeof pieces[0]);
    std::wstring text;
    const int length = Int(1, maxLength);
    for (int i = 0; i < length; ++i) text += pieces[Int(0, pieceCount - 1)];
    // Leading and trailing white space is kept out: element content around it is free to vary
    if (text.front() == L' ') text.front() = L'b';
    if (text.back() == L' ') text.back() = L'e';
    return BsxUnicodeString(text.c_str());
}

BsxUnicodeString ThemeGenerator::Icon(const BsxUnicodeString& dir)
{
    if (Int(0, 2) == 0) return BsxUnicodeString();
    BsxUnicodeString name = dir + L"/icons/";
    name += Flag() ? BsxUnicodeString(L"\u56fe\u6807") : BsxUnicodeString(L"pin");
    name += BsxUnicodeString::FromUtf8(std::to_string(Int(0, 99))) + L".png";
    return name;
}

KrStyle ThemeGenerator::Style(const BsxUnicodeString& iconDir)
{
    KrStyle style;
    auto colour = [this]() {
        return KrColorValue3D(Int(0, 255) / 255.0, Int(0, 255) / 255.0, Int(0, 255) / 255.0, Int(0, 255) / 255.0);
    };
    style.SetAltitudeMode(static_cast<AltitudeMode>(Int(0, 2)));
    style.SetBottomAltitude(static_cast<float>(Int(-500, 500)) / 4.0f);
    style.SetExtendHeight(static_cast<float>(Int(0, 4000)) / 8.0f);
    style.SetMarkerStyle(Int(0, 40));
    style.SetMarker3D(Flag());
    style.SetIconName(Icon(iconDir));
    style.SetIconScale(static_cast<float>(Int(1, 64)) / 16.0f);
    style.SetPointColor(colour());
    style.SetBillBoardMode(static_cast<KrBillBoardMode>(Int(0, 2)));
    style.SetMarker3DScaleX(Real());
    style.SetMarker3DScaleY(Real());
    style.SetMarker3DScaleZ(Real());
    style.SetMarker3DRotateX(Int(-360, 360) / 3.0);
    style.SetMarker3DRotateY(Int(-360, 360) / 7.0);
    style.SetMarker3DRotateZ(Int(-360, 360) / 9.0);
    style.SetFillStyle(Int(0, 9));
    style.SetFillColor(colour());
    style.SetFill3DMode(static_cast<KrFill3DMode>(Int(0, 2)));
    style.SetLineStyle(Int(0, 9));
    style.SetLineWidth(Int(1, 200) / 10.0);
    style.SetLineColor3D(colour());
    return style;
}

KrTextStyle ThemeGenerator::TextStyle()
{
    KrTextStyle style;
    style.SetHalo(Flag());
    style.SetHaloColor(BSXRGBA(Int(0, 255), Int(0, 255), Int(0, 255), Int(0, 255)));
    style.SetSize(Int(1, 96) / 2.0);
    style.SetHeight(Int(1, 96) / 4.0);
    style.SetForeColor(BSXRGB(Int(0, 255), Int(0, 255), Int(0, 255)));
    style.SetFaceName(Text(6));
    style.SetFixedSize(Flag());
    style.SetAlign(Int(0, 8));
    style.SetBold(Flag());
    style.SetItalic(Flag());
    return style;
}

KrTheme3DItem ThemeGenerator::Item(const BsxUnicodeString& iconDir)
{
    KrTheme3DItem item;
    item.Visible = Int(0, 3) != 0;
    item.Caption = Int(0, 4) == 0 ? BsxUnicodeString() : Text();
    item.Style = Style(iconDir);
    item.TextStyle = TextStyle();
    item.ModellingStyleEnabled = Flag();
    return item;
}

void ThemeGenerator::Base(KrTheme3D& theme)
{
    if (!m_base) return;
    if (Flag()) theme.SetAliasSuffix(BsxUnicodeString::FromUtf8(std::to_string(Int(0, 999))));
    theme.SetExternalValueMode(Int(0, 2));
    for (int i = Int(0, 3); i > 0; --i) theme.SetExternalValue(Text(5), Text(5));
}

void ThemeGenerator::Fill(KrTheme3DUnique& theme, const BsxUnicodeString& iconDir)
{
    Base(theme);
    theme.SetExpression(Flag() ? Text() : Text(4) + L"[#]" + Text(4));
    theme.SetDefaultStyle(Style(iconDir));
    theme.SetDefaultModellingStyleEnabled(Flag());
    for (int i = Int(0, 30); i > 0; --i) {
        // Numeric keys as well as text ones: both are stored as text
        const BsxUnicodeString key = Flag() ? Text() : BsxUnicodeString::FromUtf8(std::to_string(Real()));
        theme.Add(key, Item(iconDir));
    }
}

void ThemeGenerator::Fill(KrTheme3DRange& theme, const BsxUnicodeString& iconDir)
{
    Base(theme);
    theme.SetExpression(Text());
    if (Flag()) {
        BSX::BsxArray<double> data;
        double value = Real();
        for (int i = Int(2, 60); i > 0; --i) {
            data.Add(value);
            value += std::fabs(Real()) + 1.0;
        }
        const int count = Int(2, 12);
        theme.MakeDefault(Int(0, 5), count, data, KrTheme3DRange::QuantileBreaks(data, count),
                          std::fabs(data[data.GetSize() - 1] - data[0]) / Int(2, 9));
    } else {
        // Hand-made breaks in either order, each well apart from the others
        const bool up = Flag();
        double value = Real();
        for (int i = Int(1, 25); i > 0; --i) {
            theme.Add(value, Item(iconDir));
            value += (up ? 1.0 : -1.0) * (std::fabs(value) * 0.5 + 1.0);
        }
    }
    for (int i = 0; i < theme.GetCount(); ++i) theme.SetAt(i, Item(iconDir));
}

void ThemeGenerator::Fill(KrTheme3DLabel& theme)
{
    Base(theme);
    theme.SetExpression(Text());
    static const wchar_t* const formats[] = {L"", L"%.2f", L".3f", L"%e", L"%10.4g", L"%-12.1E", L"%+f", L"%%.5f"};
    theme.SetNumFormat(formats[Int(0, 7)]);
    theme.SetLabel3DType(static_cast<KrTheme3DLabel::KrLabel3DType>(Int(0, 3)));
    theme.SetAlonglineText(Flag());
    KrTextStyle text = TextStyle();
    theme.SetTextStyle(text);
}

void ThemeGenerator::Fill(Kr3DGraphItem& item)
{
    item.Type = Flag() ? Kr3DGraphItem::FieldItem : Kr3DGraphItem::ArrayItem;
    item.FieldExpression = item.Type == Kr3DGraphItem::FieldItem ? Text() : BsxUnicodeString();
    item.Caption = Text();
    item.Style = Style(BsxUnicodeString());
    item.ArrayValues.RemoveAll();
    if (item.Type == Kr3DGraphItem::ArrayItem)
        for (int i = Int(1, 15); i > 0; --i) item.ArrayValues.Add(Real());
}

void ThemeGenerator::Fill(KrTheme3DGraph& theme)
{
    Base(theme);
    static const int types[] = {KrTheme3DGraph::GraphBar, KrTheme3DGraph::GraphPie, KrTheme3DGraph::GraphStackedBar};
    theme.SetGraphType(types[Int(0, 2)]);
    for (int i = Int(0, 8); i > 0; --i) {
        Kr3DGraphItem item;
        Fill(item);
        theme.Insert(theme.GetCount(), item);
    }
    theme.SetBarWidth(Int(1, 100) / 4.0);
    theme.SetStartAngle(Int(0, 359));
    theme.SetShowItemText(Flag());
    theme.SetItemTextFormat(Int(1, 5));
    theme.SetItemTextStyle(TextStyle());
    theme.SetGraduatedMode(Int(0, 2));
    theme.SetMinSumSize(Int(1, 50));
    theme.SetMaxSumSize(Int(51, 500));
    const double low = std::fabs(Real()) + 1.0;
    theme.CalExtremumvValue(low, low * Int(2, 1000), BSX::BsxRect2D(0, 0, Int(1, 1000), Int(1, 1000)), Int(1, 10000),
                            Flag());
    BSX::BsxArray<int> keys;
    for (int i = Int(0, 12); i > 0; --i) keys.Add(Int(-100000, 100000));
    theme.SetJoinArrayField(keys);
}

void ThemeGenerator::Fill(KrTheme3DCustom& theme)
{
    Base(theme);
    BsxUnicodeString* members[] = {&theme.AltitudeMode, &theme.BottomAltitude, &theme.ExtendHeight, &theme.BillboardMode,
                                   &theme.MarkerStyle, &theme.IconName, &theme.IconScale, &theme.ColorPoint,
                                   &theme.LineStyle, &theme.LineWidth, &theme.LineColor, &theme.FillStyle,
                                   &theme.Fill3DMode, &theme.FillForeColor, &theme.ScaleX, &theme.ScaleY,
                                   &theme.ScaleZ, &theme.RotateX, &theme.RotateY, &theme.RotateZ};
    for (BsxUnicodeString* member : members) *member = Int(0, 2) == 0 ? BsxUnicodeString() : Text();
}

} // namespace T3DTest
