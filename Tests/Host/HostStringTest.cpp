#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cwchar>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "BsxArray.h"
#include "BsxDict.h"
#include "BsxTime.h"
#include "BsxUnicodeString.h"
#include "BsxVariant.h"
#include "KrConvert.h"
#include "KrFile.h"
#include "KrMarkup.h"
#include "TestSupport.h"

using namespace BSX;
using namespace KRN;

TEST(BsxUnicodeStringTest, FormatTakesPercentSAsWideString)
{
    BsxUnicodeString s;
    const wchar_t* name = L"Kr\u00e9Theme";
    EXPECT_TRUE(s.Format(L"[%s|%5s|%c|%d|%%]", name, L"ab", L'\u00e9', 42));
    EXPECT_EQ(s, L"[Kr\u00e9Theme|   ab|\u00e9|42|%]");
    // An explicit wide length modifier keeps working
    s.Format(L"%ls-%.2f", L"x", 2.345);
    EXPECT_EQ(s, L"x-2.35");
    // Long output grows the buffer
    BsxUnicodeString big;
    big.Format(L"%0500d", 7);
    EXPECT_EQ(big.GetLength(), 500);
}

TEST(BsxUnicodeStringTest, TrimFindReplaceAndSlices)
{
    BsxUnicodeString s(L"  \tabc  \n"), z(L"12.5000"), set(L"xxyabcyx");
    s.TrimLeft();
    s.TrimRight();
    z.TrimRight(L'0');
    set.TrimLeft(L"xy");
    set.TrimRight(L"xy");
    EXPECT_EQ(s, L"abc");
    EXPECT_EQ(z, L"12.5");
    EXPECT_EQ(set, L"abc");

    const BsxUnicodeString t(L"A [#] B[#]C");
    for (const auto& f : std::vector<std::pair<int, int>>{{0, 2}, {3, 7}, {8, -1}}) EXPECT_EQ(t.Find(L"[#]", f.first), f.second);
    EXPECT_EQ(t.Find(L"zz"), -1);
    EXPECT_EQ(t.Left(1) + t.Right(1) + t.Left(-1), L"AC");
    EXPECT_EQ(t.Right(100), t);

    BsxUnicodeString r(L"tdx:TextStyle><tdx:TextStyle");
    EXPECT_EQ(r.Replace(L"TextStyle", L"ItemTextStyle"), 2);
    EXPECT_EQ(r, L"tdx:ItemTextStyle><tdx:ItemTextStyle");

    EXPECT_EQ(BsxUnicodeString(L"Label3DText").CompareNoCase(L"LABEL3DTEXT"), 0);
    EXPECT_NE(BsxUnicodeString(L"TRUE").CompareNoCase(L"TRUEX"), 0);
    EXPECT_TRUE(BsxUnicodeString(L"a") < BsxUnicodeString(L"b"));
}

TEST(BsxUnicodeStringTest, NumbersAndUtf8)
{
    for (const auto& d : std::vector<std::pair<const wchar_t*, double>>{{L" 2.50x", 2.5}, {L"abc", 0}})
        EXPECT_DOUBLE_EQ(BsxUnicodeString(d.first).ToDouble(), d.second);
    // Plain decimals are read apart from the C library, to the same value to the last bit
    for (const wchar_t* text : {L"0.1", L"-3e-7", L"1.5E+3", L"0.30000000000000004", L"2.2250738585072011e-308", L"4.9e-324",
                                L"1e-400", L"1.7976931348623157e308", L"1.7976931348623159e308", L"+2", L"1-2", L".5", L"5.", L"-"})
        EXPECT_EQ(BsxUnicodeString(text).ToDouble(), std::wcstod(text, nullptr)) << BsxUnicodeString(text).ToUtf8();
    for (const auto& u : std::vector<std::pair<const wchar_t*, unsigned>>{{L"255", 255u}, {L"99999999999", UINT_MAX}, {L"-3", 4294967293u}, {L"-99999999999", UINT_MAX}, {L"--1", 0u}})
        EXPECT_EQ(BsxUnicodeString(u.first).ToUInt(10), u.second);
    for (const auto& i : std::vector<std::pair<const wchar_t*, int>>{{L" -12abc", -12}, {L"99999999999999999999", INT_MAX}, {L"x", 0}})
        EXPECT_EQ(kratoi(i.first), i.second);
    EXPECT_DOUBLE_EQ(kratof(L"1e3"), 1000.0);
    // The C library's words for infinity and NaN are read, hexadecimal floats are not
    for (const auto& r : std::vector<std::pair<const wchar_t*, double>>{
             {L" inf", HUGE_VAL}, {L"-Infinity", -HUGE_VAL}, {L"1e400", HUGE_VAL}, {L"0x10", 0}, {L"-0X1p3", 0}})
        EXPECT_EQ(kratof(r.first), r.second) << BsxUnicodeString(r.first).ToUtf8();
    EXPECT_TRUE(std::isnan(kratof(L"NaN")) && std::isnan(kratof(L"-nan")));

    const BsxUnicodeString text(L"Z\u00fcrich \u5317\u4eac \U0001F600");
    EXPECT_EQ(BsxUnicodeString::FromUtf8(text.ToUtf8()), text);
    // A truncated sequence becomes a replacement character instead of reading past the end
    EXPECT_EQ(BsxUnicodeString::FromUtf8(std::string("a\xE5\x8C", 3)), L"a\uFFFD\uFFFD");
}

TEST(BsxUnicodeStringTest, LongTextsConvertAcrossBufferEdges)
{
    // Characters of every width land on every edge of the conversion buffers and of the blocks
    // a printed document is collected in
    std::wstring text;
    for (int i = 0; text.size() < 1500000; ++i) text += std::wstring(static_cast<size_t>(i % 7), L'a') + L"\u00e9\u5317\U0001F600<&";
    const BsxUnicodeString wide(text);
    EXPECT_EQ(BsxUnicodeString::FromUtf8(wide.ToUtf8()), wide);
    KrMarkup doc;
    doc.AddElem(L"r", wide.Cstr());
    KrMarkup back(doc.GetDoc().Cstr());
    EXPECT_TRUE(back.FindElem(L"r"));
    EXPECT_EQ(back.GetData(), wide);
    // Converted in pieces cut before a byte that starts a character, broken text reads as it
    // does whole
    const std::string bytes("a\xE5\x8C\x80\xE5\x8Cz\xF0\x9F\x98\xC3\xA9\x80\x80\x80\x80\xED\xA0\x80q");
    const BsxUnicodeString whole = BsxUnicodeString::FromUtf8(bytes);
    for (size_t cut = 1; cut < bytes.size(); ++cut) {
        if ((static_cast<unsigned char>(bytes[cut]) & 0xC0) == 0x80) continue;
        std::wstring pieces;
        BsxUnicodeString::AppendUtf8(pieces, bytes.data(), cut);
        BsxUnicodeString::AppendUtf8(pieces, bytes.data() + cut, bytes.size() - cut);
        EXPECT_EQ(BsxUnicodeString(pieces), whole) << cut;
    }
}

TEST(BsxContainersTest, ArrayChecksIndexAndDictOrdersKeys)
{
    BsxArray<int> a;
    a.Add(1);
    a.Add(3);
    a.InsertAt(1, 2);
    a.InsertAt(-1, 4);
    a.InsertAt(99, 5);
    ASSERT_EQ(a.GetSize(), 5);
    EXPECT_EQ(a[1], 2);
    EXPECT_EQ(a[4], 5);
    EXPECT_THROW(a[5], std::out_of_range);
    EXPECT_THROW(a[-1], std::out_of_range);
    a.RemoveAt(1, 100);
    EXPECT_EQ(a.GetSize(), 1);

    BsxDict<BsxUnicodeString, int> d;
    d.SetAt(L"b", 2);
    d.SetAt(L"a", 1);
    d.SetAt(L"b", 3);
    EXPECT_EQ(d.GetCount(), 2);
    EXPECT_EQ(d.begin()->first, L"a");
    int v = 0;
    EXPECT_TRUE(d.Lookup(L"b", v));
    EXPECT_EQ(v, 3);
    EXPECT_FALSE(d.Lookup(L"c", v));
    EXPECT_TRUE(d.RemoveKey(L"a"));
    EXPECT_FALSE(d.RemoveKey(L"a"));
}

TEST(BsxVariantTest, TagsTextAndDates)
{
    const std::pair<BsxVariant, const wchar_t*> texts[] = {
        {BsxVariant(static_cast<unsigned char>(200)), L"200"}, {BsxVariant(static_cast<short>(-5)), L"-5"},
        {BsxVariant(5000000000LL), L"5000000000"}, {BsxVariant(2.5), L"2.5"}, {BsxVariant(0.1), L"0.1"}};
    for (const auto& t : texts) EXPECT_EQ(t.first.ToString(), t.second);
    EXPECT_EQ(BsxVariant().GetType(), 0);
    EXPECT_EQ(BsxVariant(7).GetType(), 3);
    EXPECT_EQ(BsxVariant(0.5f).GetType(), 5);
    BsxVariant s(L"text");
    BsxVariant copy(s);
    s = BsxVariant(1);
    EXPECT_EQ(copy.GetType(), 9);
    EXPECT_EQ(*copy.GetString(), L"text");

    BsxTime t(2024, 2, 29, 13, 5, 9);
    EXPECT_EQ(t.GetYear() * 10000 + t.GetMonth() * 100 + t.GetDay(), 20240229);
    EXPECT_EQ(t.Format(L"%Y-%m-%d %H:%M:%S"), L"2024-02-29 13:05:09");
    EXPECT_DOUBLE_EQ(BsxTime(1899, 12, 31).GetValue(), 1.0);
    EXPECT_EQ(BsxTime(-1.25).Format(L"%Y-%m-%d %H:%M"), L"1899-12-29 06:00");
    EXPECT_EQ(BsxVariant(t, BsxVariant::VT_DATETIME).GetType(), 11);
    EXPECT_EQ(BsxVariant(t, BsxVariant::VT_DATE).ToString(), L"2024-02-29 13:05:09");
    // Out-of-range and NaN dates show the epoch instead of failing
    EXPECT_EQ(BsxTime(1e300).GetYear(), 1899);
}

TEST(KrFileTest, RelativeAndAbsolutePaths)
{
    EXPECT_EQ(KrFile::GetDir(L"/data/icons/a.png"), L"/data/icons/");
    EXPECT_EQ(KrFile::GetName(L"/data/icons/a.png"), L"a.png");
    EXPECT_EQ(KrFile::GetDir(L"a.png"), L"");
    // {base, relative form, absolute form}
    const std::vector<std::tuple<const wchar_t*, const wchar_t*, const wchar_t*>> paths = {
        {L"/data", L"icons/", L"/data/icons/"}, {L"/data/", L"", L"/data/"}, {L"/data", L"../other/", L"/other/"},
        {L"", L"/x/", L"/x/"}};
    for (const auto& p : paths) EXPECT_EQ(KrFile::GetRelativePath(std::get<0>(p), std::get<2>(p)), std::get<1>(p));
    EXPECT_EQ(KrFile::GetAbsolutePath(L"/data", L"icons/a.png"), L"/data/icons/a.png");
    EXPECT_EQ(KrFile::GetAbsolutePath(L"/data", L"../other/a.png"), L"/other/a.png");
    EXPECT_EQ(KrFile::GetAbsolutePath(L"/data", L"/abs/a.png"), L"/abs/a.png");
}
