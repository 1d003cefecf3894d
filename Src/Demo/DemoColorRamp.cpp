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
// Tableau 10
const unsigned kQualitative[] = {0x4e79a7, 0xf28e2b, 0xe15759, 0x76b7b2, 0x59a14f,
                                 0xedc948, 0xb07aa1, 0xff9da7, 0x9c755f, 0xbab0ac};

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
    const int n = static_cast<int>(sizeof(kQualitative) / sizeof(kQualitative[0]));
    int k = i % n;
    if (k < 0) k += n;
    return Hex(kQualitative[k]);
}

} // namespace KRN
