#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>

#include "BsxVariant.h"
#include "KrLabelNumberFormat.h"
#include "KrTheme3DLabel.h"
#include "TestSupport.h"

using namespace BSX;
using namespace KRN;
using T3DTest::U8;

namespace {
// Formats that must never reach the C library: wrong argument types, writes through a pointer,
// arguments that are not there, unbounded output, more than one conversion, or none at all
const wchar_t* const kHostileFormats[] = {
    L"%s", L"%n", L"%d", L"%x", L"%c", L"%p", L"%*f", L"%.*f", L"%.9999999f", L"%99999999999999999999f",
    L"%.2f%.2f", L"%.2f %s", L"%Lf", L"%hf", L"%llf", L"%'f", L"%1$f", L"%", L"%%%", L"%5", L"%.f%n", L"%.2",
    L"%101f", L"%.101f", L"%f%", L"100%%"};
} // namespace

TEST(LabelNumberFormat, WritesWhatTheCLibraryWritesAndRefusesTheRest)
{
    const double values[] = {0.0, -0.0, 0.5, 2.5, -3.14159, 1234.5678, 1e-7, 9.9999999, 1e21, -1e300,
                             std::numeric_limits<double>::max(), std::numeric_limits<double>::denorm_min(),
                             std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
                             std::nan("")};
    const char* const conversions[] = {"%f", "%.0f", "%.3F", "%+.2f", "% .1f", "%+ 012.3f", "%-12.2f|", "%012.3f",
                                       "%.100f", "%100.1f", "%e", "%.0e", "%-+15.4E|", "%015.2e", "%g", "%.0g",
                                       "%.12G", "%+g", "%010g", "%#.0f", "%#g", "%a", "%.3A", "%08a", "%lf",
                                       "%--++  ##00 8.1f", "%.1f%% of %%d", "x=%.f"};
    for (const char* conversion : conversions) {
        KrLabelNumberFormat format;
        ASSERT_TRUE(format.Parse(BsxUnicodeString::FromUtf8(conversion).Cstr())) << conversion;
        for (double value : values) {
            char expected[1024];
            std::snprintf(expected, sizeof expected, conversion, value);
            std::wstring out;
            format.Append(value, out);
            EXPECT_EQ(BsxUnicodeString(out).ToUtf8(), expected) << conversion << " of " << value;
        }
    }
    for (const wchar_t* bad : kHostileFormats) {
        KrLabelNumberFormat format;
        EXPECT_FALSE(format.Parse(bad)) << U8(bad);
        std::wstring out = L"kept";
        format.Append(1.0, out);
        EXPECT_EQ(out, L"kept");
    }
}

TEST(LabelNumberFormat, UnusableFormatsSetByTheHostAreLoggedAndEmptied)
{
    KrTheme3DLabel label;
    for (const wchar_t* format : {L"%.2f", L".2f", L"%%.2f"}) {
        T3DTest::ClearLog();
        label.SetNumFormat(format);
        EXPECT_EQ(label.GetNumFormat(), format);
        EXPECT_EQ(label.GetStringFromVariant(BsxVariant(1.5)), L"1.50");
        EXPECT_TRUE(T3DTest::LogIds().empty());
    }
    for (const wchar_t* format : kHostileFormats) {
        // Set by the host: refused, emptied and logged. Leading "%" are dropped before the
        // trial, so a format of "%" alone is simply empty
        label.SetNumFormat(L"%.2f");
        T3DTest::ClearLog();
        label.SetNumFormat(format);
        EXPECT_EQ(label.GetNumFormat(), L"") << U8(format);
        EXPECT_EQ(label.GetStringFromVariant(BsxVariant(2.5)), L"2.5");
        BsxUnicodeString rest(format);
        rest.TrimLeft(L"%");
        EXPECT_EQ(T3DTest::LogIds(), rest.IsEmpty() ? std::vector<std::string>() : std::vector<std::string>{"EGi063"})
            << U8(format);
    }
    // Read from a document, such a format is kept as written, silently, and formats as with
    // none: the documents label_format_*.read.xml under Tests/Data/broken
}
