#include <gtest/gtest.h>

#include <climits>
#include <utility>
#include <vector>

#include "BsxTime.h"
#include "BsxVariant.h"
#include "KrTheme3DLabel.h"
#include "TestSupport.h"

using namespace BSX;
using namespace KRN;

namespace {
using Cases = std::vector<std::pair<BsxVariant, const wchar_t*>>;

void ExpectTexts(KrTheme3DLabel& label, const Cases& cases)
{
    for (const auto& c : cases)
        EXPECT_EQ(label.GetStringFromVariant(c.first), c.second) << "tag " << c.first.GetType() << ", format "
                                                                  << label.GetNumFormat().ToUtf8();
}
} // namespace

TEST(LabelValueText, NullAndIntegersIgnoreTheNumberFormat)
{
    const Cases cases = {{BsxVariant(), L"<NULL>"},
                         {BsxVariant(static_cast<short>(-5)), L"-5"},
                         {BsxVariant(static_cast<short>(SHRT_MIN)), L"-32768"},
                         {BsxVariant(static_cast<unsigned char>(200)), L"200"},
                         {BsxVariant(INT_MIN), L"-2147483648"},
                         {BsxVariant(5000000000LL), L"5000000000"},
                         {BsxVariant(LLONG_MIN), L"-9223372036854775808"}};
    KrTheme3DLabel label;
    ExpectTexts(label, cases);
    label.SetNumFormat(L"%.2f");
    ExpectTexts(label, cases);
}

TEST(LabelValueText, DoublesAreTrimmedOnlyUnderTheDefaultFormatAndFloatsNever)
{
    KrTheme3DLabel label;
    ExpectTexts(label, {{BsxVariant(2.5), L"2.5"}, {BsxVariant(100.0), L"100"}, {BsxVariant(0.0), L"0"},
                        {BsxVariant(-0.0), L"-0"}, {BsxVariant(3.14159), L"3.14159"}, {BsxVariant(1e-11), L"0"},
                        {BsxVariant(0.5f), L"0.5000000000"}, {BsxVariant(-0.0f), L"-0.0000000000"}});
    for (const wchar_t* format : {L".2f", L"%.2f"}) {
        label.SetNumFormat(format);
        ExpectTexts(label, {{BsxVariant(3.14159), L"3.14"}, {BsxVariant(100.0), L"100.00"}, {BsxVariant(0.25f), L"0.25"}});
    }
    // Blanks of a left-aligned width go with the other trailing white space
    for (const auto& f : std::vector<std::pair<const wchar_t*, const wchar_t*>>{{L"%%.3f", L"3.142"}, {L"%-12.1f", L"3.1"}, {L"", L"3.14159"}}) {
        label.SetNumFormat(f.first);
        ExpectTexts(label, {{BsxVariant(3.14159), f.second}});
    }
}

TEST(LabelValueText, DatesAreUnpaddedAtMidnightAndTextLosesTrailingBlanks)
{
    KrTheme3DLabel label;
    for (BsxVariant::Type tag : {BsxVariant::VT_DATE, BsxVariant::VT_TIME, BsxVariant::VT_DATETIME})
        ExpectTexts(label, {{BsxVariant(BsxTime(2000, 1, 1), tag), L"2000-1-1"},
                            {BsxVariant(BsxTime(2000, 1, 1, 13, 5, 9), tag), L"2000-01-01 13:05:09"},
                            {BsxVariant(BsxTime(1999, 12, 31, 0, 0, 1), tag), L"1999-12-31 00:00:01"}});
    ExpectTexts(label, {{BsxVariant(L"  Main Street \t "), L"  Main Street"}, {BsxVariant(L""), L""}});
}

TEST(LabelValueText, ExternalValueModeOneReplacesTheTextOrEmptiesIt)
{
    KrTheme3DLabel label;
    label.SetExternalValue(L"2.5", L"two and a half");
    label.SetExternalValue(L"Oslo", L"Norway");
    label.SetExternalValue(L"<NULL>", L"nothing");
    label.SetExternalValueMode(1);
    T3DTest::ClearLog();
    ExpectTexts(label, {{BsxVariant(2.5), L"two and a half"}, {BsxVariant(L"Oslo  "), L"Norway"},
                        {BsxVariant(), L"nothing"}, {BsxVariant(3.5), L""}, {BsxVariant(L"Bergen"), L""}});
    EXPECT_TRUE(T3DTest::LogIds().empty());
    for (int mode : {0, 2, 7}) {
        label.SetExternalValueMode(mode);
        ExpectTexts(label, {{BsxVariant(2.5), L"2.5"}});
    }
}
