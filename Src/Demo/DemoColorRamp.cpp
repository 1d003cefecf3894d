#include "DemoColorRamp.h"

#include <cmath>

namespace KRN {

namespace {

KrColorValue3D Hex(unsigned rgb)
{
    return KrColorValue3D(((rgb >> 16) & 0xFF) / 255.0, ((rgb >> 8) & 0xFF) / 255.0, (rgb & 0xFF) / 255.0, 1.0);
}

// The published viridis colours at nine evenly spaced positions
const unsigned kViridis[] = {0x440154, 0x472d7b, 0x3b528b, 0x2c728e, 0x21918c, 0x28ae80, 0x5ec962, 0xaddc30, 0xfde725};
// Tableau 10 and two more that stay apart from its colours
const unsigned kQualitative[] = {0x4e79a7, 0xf28e2b, 0xe15759, 0x76b7b2, 0x59a14f, 0xedc948,
                                 0xb07aa1, 0xff9da7, 0x9c755f, 0xbab0ac, 0x2f6f3e, 0x8f2d56};
static_assert(sizeof(kQualitative) / sizeof(kQualitative[0]) == DemoColorRamp::kQualitativeSize, "palette size");

// A colour from hue (turns), saturation and value in [0, 1]
KrColorValue3D Hsv(double h, double s, double v)
{
    h = (h - std::floor(h)) * 6.0;
    const int sector = static_cast<int>(h) % 6;
    const double f = h - std::floor(h);
    const double p = v * (1.0 - s), q = v * (1.0 - s * f), t = v * (1.0 - s * (1.0 - f));
    const double rgb[6][3] = {{v, t, p}, {q, v, p}, {p, v, t}, {p, q, v}, {t, p, v}, {v, p, q}};
    return KrColorValue3D(rgb[sector][0], rgb[sector][1], rgb[sector][2], 1.0);
}

} // namespace

KrColorValue3D DemoColorRamp::Viridis(double t)
{
    if (!(t > 0.0)) t = 0.0;
    if (t > 1.0) t = 1.0;
    const int last = static_cast<int>(sizeof(kViridis) / sizeof(kViridis[0])) - 1;
    const double pos = t * last;
    int i = static_cast<int>(std::floor(pos));
    if (i >= last) i = last - 1;
    const double f = pos - i;
    const KrColorValue3D a = Hex(kViridis[i]);
    const KrColorValue3D b = Hex(kViridis[i + 1]);
    return KrColorValue3D(a.r + (b.r - a.r) * f, a.g + (b.g - a.g) * f, a.b + (b.b - a.b) * f, 1.0);
}

KrColorValue3D DemoColorRamp::ViridisClass(int i, int n)
{
    if (n <= 1) return Viridis(0.5);
    return Viridis(static_cast<double>(i) / (n - 1));
}

KrColorValue3D DemoColorRamp::Qualitative(int i)
{
    if (i >= 0 && i < kQualitativeSize) return Hex(kQualitative[i]);
    // The golden angle never brings a hue back, and three lightness steps part near hues further
    const unsigned k = static_cast<unsigned>(i < 0 ? -(i + 1) : i - kQualitativeSize);
    return Hsv(0.1 + k * 0.3819660112501051, 0.55 + 0.15 * (k % 2), 0.95 - 0.2 * (k % 3));
}

} // namespace KRN
