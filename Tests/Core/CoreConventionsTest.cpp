#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "KrThemeXml.h"
#include "TestSupport.h"

using namespace BSX;
using namespace KRN;

TEST(ThemeXmlConventionsTest, RealsVersionsAndBooleans)
{
    // Fifteen significant digits at most: no binary noise in larger numbers, nothing below them
    const std::pair<double, const wchar_t*> reals[] = {
        {0.1, L"0.1"}, {3, L"3"}, {0, L"0"}, {10, L"10"}, {-0.25, L"-0.25"}, {12756.274, L"12756.274"},
        {-63781.37, L"-63781.37"}, {1e20, L"100000000000000000000"}, {0.000123456789, L"0.000123456789"},
        {1e-20, L"0"}, {-1e-20, L"0"}, {1.0 / 3, L"0.333333333333333"},
        {std::numeric_limits<double>::quiet_NaN(), L"nan"}, {-std::numeric_limits<double>::quiet_NaN(), L"nan"},
        {std::numeric_limits<double>::infinity(), L"inf"}, {-std::numeric_limits<double>::infinity(), L"-inf"}};
    for (const auto& r : reals) EXPECT_EQ(ThemeXml::Real(r.first), r.second) << r.first;
    EXPECT_EQ(ThemeXml::Real(1e300).GetLength(), 301);

    for (int v : {0, 20120328, 12345}) EXPECT_EQ(ThemeXml::NormaliseVersion(v), v ? v : 20090106);
    for (int v : {20090106, 20120328}) EXPECT_TRUE(ThemeXml::IsSupportedVersion(v)) << v;
    for (int v : {12345, 20031211, 20050101, -1}) EXPECT_FALSE(ThemeXml::IsSupportedVersion(v)) << v;

    for (const wchar_t* f : {L"FALSE", L"false", L"FaLsE"}) EXPECT_FALSE(ThemeXml::ReadFalseIsFalse(f));
    for (const wchar_t* t : {L"", L"no", L"0", L" FALSE", L"TRUE"}) EXPECT_TRUE(ThemeXml::ReadFalseIsFalse(t));
    for (const wchar_t* t : {L"TRUE", L"true", L"True"}) EXPECT_TRUE(ThemeXml::ReadTrueIsTrue(t));
    for (const wchar_t* f : {L"", L"yes", L"1", L"TRUE "}) EXPECT_FALSE(ThemeXml::ReadTrueIsTrue(f));
    // Strict reading: either keyword sets the member, anything else leaves it
    bool member = true;
    for (const auto& step : std::vector<std::pair<const wchar_t*, bool>>{
             {L"false", false}, {L"maybe", false}, {L"True", true}, {L"", true}}) {
        ThemeXml::ReadBoolStrict(step.first, member);
        EXPECT_EQ(member, step.second) << BsxUnicodeString(step.first).ToUtf8();
    }
}

TEST(ThemeXmlConventionsTest, IconNamesRelativeOnWritingAbsoluteOnReading)
{
    for (const auto& p : std::vector<std::pair<const wchar_t*, const wchar_t*>>{
             {L"/d/icons/a.png", L"icons/a.png"}, {L"/d/a.png", L"a.png"}, {L"", L""}}) {
        EXPECT_EQ(ThemeXml::RelativeIconName(p.first, L"/d"), p.second);
        EXPECT_EQ(ThemeXml::AbsoluteIconName(p.second, L"/d"), p.first);
    }
    // How the themes write and read their styles' icons: the unique and range themes' tests
}
