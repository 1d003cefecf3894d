#include <gtest/gtest.h>

#include <climits>

#include "BsxTime.h"
#include "BsxVariant.h"
#include "KrTheme3DLabel.h"
#include "TestSupport.h"

using namespace BSX;
using namespace KRN;
using T3DTest::U8;

namespace {
BsxUnicodeString Text(KrTheme3DLabel& label, const BsxVariant& value) { return label.GetStringFromVariant(value); }
} // namespace

TEST(LabelValueText, NullIsMarkedWhateverTheFormat)
{
    KrTheme3DLabel label;
    EXPECT_EQ(Text(label, BsxVariant()), L"<NULL>");
    label.SetNumFormat(L"%.2f");
    EXPECT_EQ(Text(label, BsxVariant()), L"<NULL>");
}

TEST(LabelValueText, IntegersUseTheirOwnConversionsNotTheNumberFormat)
{
    KrTheme3DLabel label;
    label.SetNumFormat(L"%.2f");
    EXPECT_EQ(Text(label, BsxVariant(static_cast<short>(-5))), L"-5");
    EXPECT_EQ(Text(label, BsxVariant(static_cast<short>(SHRT_MIN))), L"-32768");
    EXPECT_EQ(Text(label, BsxVariant(static_cast<unsigned char>(200))), L"200");
    EXPECT_EQ(Text(label, BsxVariant(0)), L"0");
    EXPECT_EQ(Text(label, BsxVariant(INT_MIN)), L"-2147483648");
    EXPECT_EQ(Text(label, BsxVariant(5000000000LL)), L"5000000000");
    EXPECT_EQ(Text(label, BsxVariant(LLONG_MIN)), L"-9223372036854775808");
    EXPECT_EQ(Text(label, BsxVariant(LLONG_MAX)), L"9223372036854775807");
}

TEST(LabelValueText, DoublesAreTrimmedOnlyUnderTheDefaultFormat)
{
    KrTheme3DLabel label;
    EXPECT_EQ(Text(label, BsxVariant(2.5)), L"2.5");
    EXPECT_EQ(Text(label, BsxVariant(100.0)), L"100");
    EXPECT_EQ(Text(label, BsxVariant(0.0)), L"0");
    EXPECT_EQ(Text(label, BsxVariant(-0.0)), L"-0");
    EXPECT_EQ(Text(label, BsxVariant(3.14159)), L"3.14159");
    EXPECT_EQ(Text(label, BsxVariant(1e-11)), L"0");
    for (const wchar_t* format : {L".2f", L"%.2f"}) {
        label.SetNumFormat(format);
        EXPECT_EQ(Text(label, BsxVariant(3.14159)), L"3.14") << U8(format);
        EXPECT_EQ(Text(label, BsxVariant(100.0)), L"100.00") << U8(format);
    }
    label.SetNumFormat(L"%%.3f");
    EXPECT_EQ(Text(label, BsxVariant(3.14159)), L"3.142");
    // Going back to no format restores the default and its trimming
    label.SetNumFormat(L"");
    EXPECT_EQ(Text(label, BsxVariant(2.5)), L"2.5");
}

TEST(LabelValueText, FloatsKeepEveryDigitOfTheConversion)
{
    KrTheme3DLabel label;
    EXPECT_EQ(Text(label, BsxVariant(0.5f)), L"0.5000000000");
    EXPECT_EQ(Text(label, BsxVariant(2.5f)), L"2.5000000000");
    EXPECT_EQ(Text(label, BsxVariant(-0.0f)), L"-0.0000000000");
    label.SetNumFormat(L".1f");
    EXPECT_EQ(Text(label, BsxVariant(0.25f)), L"0.2");
}

TEST(LabelValueText, DatesArePlainAtMidnightAndPaddedOtherwise)
{
    KrTheme3DLabel label;
    const BsxTime midnight(2000, 1, 1);
    const BsxTime afternoon(2000, 1, 1, 13, 5, 9);
    for (BsxVariant::Type tag : {BsxVariant::VT_DATE, BsxVariant::VT_TIME, BsxVariant::VT_DATETIME}) {
        EXPECT_EQ(Text(label, BsxVariant(midnight, tag)), L"2000-1-1");
        EXPECT_EQ(Text(label, BsxVariant(afternoon, tag)), L"2000-01-01 13:05:09");
    }
    EXPECT_EQ(Text(label, BsxVariant(BsxTime(2014, 3, 7), BsxVariant::VT_DATE)), L"2014-3-7");
    EXPECT_EQ(Text(label, BsxVariant(BsxTime(1999, 12, 31, 0, 0, 1), BsxVariant::VT_DATE)), L"1999-12-31 00:00:01");
}

TEST(LabelValueText, TextLosesTrailingBlanksOnly)
{
    KrTheme3DLabel label;
    EXPECT_EQ(Text(label, BsxVariant(L"  Main Street \t ")), L"  Main Street");
    EXPECT_EQ(Text(label, BsxVariant(L"")), L"");
    // A left-aligned width pads with blanks, which go the same way
    label.SetNumFormat(L"%-12.1f");
    EXPECT_EQ(Text(label, BsxVariant(2.5)), L"2.5");
}

TEST(LabelValueText, ExternalValueModeOneReplacesTheTextOrEmptiesIt)
{
    KrTheme3DLabel label;
    label.SetExternalValue(L"2.5", L"two and a half");
    label.SetExternalValue(L"Oslo", L"Norway");
    label.SetExternalValue(L"<NULL>", L"nothing");
    label.SetExternalValueMode(1);
    EXPECT_EQ(Text(label, BsxVariant(2.5)), L"two and a half");
    EXPECT_EQ(Text(label, BsxVariant(L"Oslo  ")), L"Norway");
    EXPECT_EQ(Text(label, BsxVariant()), L"nothing");
    EXPECT_EQ(Text(label, BsxVariant(3.5)), L"");
    EXPECT_EQ(Text(label, BsxVariant(L"Bergen")), L"");
    // The other modes leave the text alone
    for (int mode : {0, 2, 7}) {
        label.SetExternalValueMode(mode);
        EXPECT_EQ(Text(label, BsxVariant(2.5)), L"2.5") << mode;
    }
    T3DTest::ClearLog();
    label.SetExternalValueMode(1);
    Text(label, BsxVariant(L"Bergen"));
    EXPECT_TRUE(T3DTest::LogIds().empty());
}
