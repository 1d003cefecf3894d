#pragma once
// Well-known colour ramps for classified themes.
#include "KrColorValue3D.h"

namespace KRN {

class DemoColorRamp {
public:
    // Viridis, sampled at t in [0, 1] (t outside is clamped, NaN gives the low end)
    static KrColorValue3D Viridis(double t);
    // Colour i of n evenly spaced along viridis (the middle colour when n is 1)
    static KrColorValue3D ViridisClass(int i, int n);
    // Colour i of the twelve-colour qualitative palette; past twelve, further colours of evenly
    // turning hue and alternating lightness, all different from each other for any practical i
    static KrColorValue3D Qualitative(int i);
    static constexpr int kQualitativeSize = 12;
};

} // namespace KRN
