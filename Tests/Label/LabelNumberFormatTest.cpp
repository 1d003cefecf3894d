#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>

#include "BsxVariant.h"
#include "KrLabelNumberFormat.h"
#include "KrMarkup.h"
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
    L"%101f", L"%.101f", L"%f%"};

BsxUnicodeString Formatted(const wchar_t* format, double value)
{
    KrLabelNumberFormat f;
    std::wstring out;
    if (f.Parse(format)) f.Append(value, out);
    return BsxUnicodeString(out);
}

// A label document whose only own element is the given number format
BsxUnicodeString DocumentWithFormat(const wchar_t* format)
{
    KrTheme3DLabel label;
    KrMarkup doc(label.KrTheme3D::ToXML(0, BsxUnicodeString()).Cstr());
    doc.FindElem(L"tdx:Theme3D");
    doc.AddElem(L"tdx:NumFormat", format, false, true);
    return doc.GetDoc();
}
} // namespace

TEST(LabelNumberFormat, AcceptsOneFloatingConversionWithLiteralText)
{
    EXPECT_EQ(Formatted(L"%.2f", 3.14159), L"3.14");
    EXPECT_EQ(Formatted(L"%+08.2f", 3.14159), L"+0003.14");
    EXPECT_EQ(Formatted(L"%--++  ##00 8.1f", 2.5), L"+2.5    ");
    EXPECT_EQ(Formatted(L"%.3e", 1234.5), L"1.234e+03");
    EXPECT_EQ(Formatted(L"%G", 1e-10), L"1E-10");
    EXPECT_EQ(Formatted(L"%a", 1.0), L"0x1p+0");
    EXPECT_EQ(Formatted(L"%lf", 0.5), L"0.500000");
    EXPECT_EQ(Formatted(L"%.f", 2.75), L"3");
    EXPECT_EQ(Formatted(L"about %.1f%% of %%d \x00e5", 12.34), L"about 12.3% of %d \x00e5");
    EXPECT_EQ(Formatted(L"%100.100f", 1.0).GetLength(), 102);
    EXPECT_EQ(Formatted(L"%.100f", -std::numeric_limits<double>::max()).GetLength(), 1 + 309 + 1 + 100);
    EXPECT_EQ(Formatted(L"%.1f", std::numeric_limits<double>::infinity()), L"inf");
    EXPECT_TRUE(Formatted(L"%.1f", std::nan("")).Find(L"nan") >= 0);

    for (const wchar_t* format : kHostileFormats) {
        KrLabelNumberFormat f;
        EXPECT_FALSE(f.Parse(format)) << U8(format);
        EXPECT_FALSE(f.IsValid());
        std::wstring out = L"kept";
        f.Append(1.0, out);
        EXPECT_EQ(out, L"kept");
    }
    KrLabelNumberFormat none;
    EXPECT_FALSE(none.Parse(nullptr));
    EXPECT_FALSE(none.Parse(L"no conversion"));
}

TEST(LabelNumberFormat, WritesWhatTheCLibraryWritesForTheSameConversion)
{
    const double inf = std::numeric_limits<double>::infinity();
    const double values[] = {0.0, -0.0, 0.5, 2.5, -3.14159, 1234.5678, 1e-7, 9.9999999, 1e21, -1e300,
                             std::numeric_limits<double>::max(), std::numeric_limits<double>::denorm_min(), inf, -inf,
                             std::nan("")};
    const char* const conversions[] = {"%f", "%.0f", "%.3F", "%+.2f", "% .1f", "%+ 012.3f", "%-12.2f|", "%012.3f",
                                       "%12.2f", "%.100f", "%100.1f", "%e", "%.0e", "%-+15.4E|", "%015.2e", "%g",
                                       "%.0g", "%.12G", "%+g", "%010g", "%#.0f", "%#g", "%a", "%.3A", "%08a"};
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
}

TEST(LabelNumberFormat, SetNumFormatKeepsUsableFormatsAsGivenAndLogsTheOthers)
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
        label.SetNumFormat(L"%.2f");
        T3DTest::ClearLog();
        label.SetNumFormat(format);
        EXPECT_EQ(label.GetNumFormat(), L"") << U8(format);
        // Leading "%" are dropped before the trial, so a format of "%" alone is simply empty
        BsxUnicodeString rest(format);
        rest.TrimLeft(L"%");
        const std::vector<std::string> expected = rest.IsEmpty() ? std::vector<std::string>{} : std::vector<std::string>{"EGi063"};
        EXPECT_EQ(T3DTest::LogIds(), expected) << U8(format);
        EXPECT_EQ(label.GetStringFromVariant(BsxVariant(2.5)), L"2.5");
    }
    const auto& records = KrLogFile::GetInstance(false)->GetRecords();
    label.SetNumFormat(L"%s");
    ASSERT_FALSE(records.empty());
    EXPECT_EQ(records.back().level, 400);
    EXPECT_EQ(records.back().sourceFile, L"..\\..\\..\\Src\\Theme3DBase\\KrTheme3DLabel");
    T3DTest::ClearLog();
}

TEST(LabelNumberFormat, AFormatFromADocumentIsKeptButNeverMisused)
{
    for (const wchar_t* format : kHostileFormats) {
        KrTheme3DLabel label;
        label.SetNumFormat(L"%.3f");
        T3DTest::ClearLog();
        ASSERT_TRUE(label.FromXML(DocumentWithFormat(format), 0, BsxUnicodeString()));
        // Kept as read and written back as read
        EXPECT_EQ(label.GetNumFormat(), format);
        KrTheme3DLabel again;
        again.FromXML(label.ToXML(0, BsxUnicodeString()), 0, BsxUnicodeString());
        EXPECT_EQ(again.GetNumFormat(), format);
        // Formatting behaves as if no format were set
        EXPECT_EQ(label.GetStringFromVariant(BsxVariant(2.5)), L"2.5") << U8(format);
        EXPECT_EQ(label.GetStringFromVariant(BsxVariant(0.5f)), L"0.5000000000") << U8(format);
        EXPECT_TRUE(T3DTest::LogIds().empty());
    }
    KrTheme3DLabel label;
    ASSERT_TRUE(label.FromXML(DocumentWithFormat(L"%%.1f m"), 0, BsxUnicodeString()));
    EXPECT_EQ(label.GetStringFromVariant(BsxVariant(2.25)), L"2.2 m");
}
