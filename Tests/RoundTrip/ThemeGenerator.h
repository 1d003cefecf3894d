#pragma once
// Random themes of every kind, from a seeded generator, for the round-trip properties and the
// fuzz seed documents. Texts mix markup characters, spaces and non-Latin scripts; reals span
// many magnitudes; styles vary every property a document carries.
#include <cstdint>
#include <random>
#include <string>

#include "BsxUnicodeString.h"
#include "Kr3DGraphItem.h"
#include "KrStyle.h"
#include "KrTextStyle.h"
#include "KrTheme3DCustom.h"
#include "KrTheme3DGraph.h"
#include "KrTheme3DItem.h"
#include "KrTheme3DLabel.h"
#include "KrTheme3DRange.h"
#include "KrTheme3DUnique.h"

namespace T3DTest {

using namespace KRN;

class ThemeGenerator {
public:
    explicit ThemeGenerator(std::uint32_t seed) : m_rng(seed) {}
    // Leaves the base part (alias suffix, external values) at its defaults
    void SkipBase() { m_base = false; }

    int Int(int low, int high) { return std::uniform_int_distribution<int>(low, high)(m_rng); }
    bool Flag() { return Int(0, 1) == 1; }
    // A real of a random magnitude between 1e-6 and 1e12, either sign, sometimes whole
    double Real();
    // Non-empty text drawn from ASCII, markup characters, CJK, Arabic, Cyrillic and emoji
    BSX::BsxUnicodeString Text(int maxLength = 12);
    // An absolute icon file under dir (empty sometimes)
    BSX::BsxUnicodeString Icon(const BSX::BsxUnicodeString& dir);

    KrStyle Style(const BSX::BsxUnicodeString& iconDir);
    KrTextStyle TextStyle();
    KrTheme3DItem Item(const BSX::BsxUnicodeString& iconDir);

    // The base part every kind carries: alias suffix, external-value mode and table
    void Base(KrTheme3D& theme);
    void Fill(KrTheme3DUnique& theme, const BSX::BsxUnicodeString& iconDir = BSX::BsxUnicodeString(L"/data/scene"));
    void Fill(KrTheme3DRange& theme, const BSX::BsxUnicodeString& iconDir = BSX::BsxUnicodeString(L"/data/scene"));
    void Fill(KrTheme3DLabel& theme);
    void Fill(KrTheme3DGraph& theme);
    void Fill(Kr3DGraphItem& item);
    void Fill(KrTheme3DCustom& theme);

private:
    std::mt19937 m_rng;
    bool m_base = true;
};

} // namespace T3DTest
