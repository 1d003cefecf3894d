#include "KrThemeXml.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

#include "KrConvert.h"
#include "KrFile.h"
#include "KrLogFile.h"
#include "KrStringEx.h"

namespace KRN {
namespace ThemeXml {

using BSX::BsxUnicodeString;

namespace {
const wchar_t kVisibleName[] = L"tdx:StyleEnable";
const wchar_t kModellingName[] = L"tdx:ModellingStyleEnabled";
} // namespace

int NormaliseVersion(int version) { return version == 0 ? kVersion20090106 : version; }

bool IsSupportedVersion(int version) { return version == kVersion20090106 || version == kVersion20120328; }

namespace {
const char* NonFiniteReal(double value)
{
    if (std::isnan(value)) return "nan";
    return value < 0 ? "-inf" : "inf";
}
} // namespace

BsxUnicodeString Real(double value)
{
    if (!std::isfinite(value)) return BsxUnicodeString::FromUtf8(NonFiniteReal(value));
    // Fixed notation with 15 decimals, but never more than 15 significant digits: the digits a
    // double holds reliably. "%.15f" alone would print binary noise for larger numbers
    // (12756.274 as 12756.273999999999432).
    char sci[32];
    std::snprintf(sci, sizeof sci, "%.14e", value);
    const char* p = sci;
    std::string s;
    if (*p == '-') { s += '-'; ++p; }
    std::string digits;
    for (; *p && *p != 'e'; ++p)
        if (*p != '.') digits += *p;
    const int exponent = *p == 'e' ? std::atoi(p + 1) : 0;
    if (exponent < -1) {
        // Below 0.1 fifteen decimals hold fewer than fifteen significant digits: plain rounding
        char buf[64];
        std::snprintf(buf, sizeof buf, "%.15f", value);
        s = buf;
    } else {
        const size_t integerDigits = static_cast<size_t>(exponent) + 1;
        if (integerDigits == 0) {
            s += "0." + digits;
        } else if (integerDigits >= digits.size()) {
            s += digits + std::string(integerDigits - digits.size(), '0');
        } else {
            s += digits.substr(0, integerDigits) + "." + digits.substr(integerDigits);
        }
    }
    if (s.find('.') != std::string::npos) {
        while (!s.empty() && s.back() == '0') s.pop_back();
        if (!s.empty() && s.back() == '.') s.pop_back();
    }
    if (s == "-0" || s.empty() || s == "-") s = "0";
    return BsxUnicodeString::FromUtf8(s);
}

BsxUnicodeString FixedReal(double value)
{
    if (!std::isfinite(value)) return BsxUnicodeString::FromUtf8(NonFiniteReal(value));
    BsxUnicodeString text;
    text.Format(L"%f", value);
    return text;
}

BsxUnicodeString Int(int value)
{
    BsxUnicodeString s;
    NumberToString(value, s);
    return s;
}

bool ReadFalseIsFalse(const BsxUnicodeString& text) { return text.CompareNoCase(L"FALSE") != 0; }
bool ReadTrueIsTrue(const BsxUnicodeString& text) { return text.CompareNoCase(L"TRUE") == 0; }

void ReadBoolStrict(const BsxUnicodeString& text, bool& member)
{
    if (text.CompareNoCase(L"TRUE") == 0) member = true;
    else if (text.CompareNoCase(L"FALSE") == 0) member = false;
}

bool BeginWrite(const KrTheme3D& theme, int& version, KrMarkup& markup, BsxUnicodeString& result, bool checkVersion)
{
    version = NormaliseVersion(version);
    result.Empty();
    if (checkVersion && !IsSupportedVersion(version)) return false;
    BsxUnicodeString base = theme.KrTheme3D::ToXML(version, BsxUnicodeString());
    if (base.IsEmpty()) return false;
    markup.SetDoc(base.Cstr());
    if (!markup.FindElem(kRootName)) return false;
    return true;
}

void AddText(KrMarkup& markup, const wchar_t* name, const BsxUnicodeString& text)
{
    markup.AddElem(name, text.Cstr(), false, true);
}

void AddReal(KrMarkup& markup, const wchar_t* name, double value) { AddText(markup, name, Real(value)); }
void AddInt(KrMarkup& markup, const wchar_t* name, int value) { AddText(markup, name, Int(value)); }
void AddBool(KrMarkup& markup, const wchar_t* name, bool value) { markup.AddElem(name, Bool(value), false, true); }

void OpenContainer(KrMarkup& markup, const wchar_t* name)
{
    markup.AddElem(name, nullptr, false, true);
    markup.IntoElem();
}

void AddStyle(KrMarkup& markup, const KrStyle& style, int version, const wchar_t* elementName, const BsxUnicodeString* iconDir)
{
    const BsxUnicodeString name(elementName);
    // Only a named icon file has a relative form to write
    if (iconDir && !style.GetIconName().IsEmpty()) {
        KrStyle copy(style);
        copy.SetIconName(RelativeIconName(style.GetIconName(), *iconDir));
        markup.AddSubDoc(copy.ToXML(version, name).Cstr(), false, true);
    } else {
        markup.AddSubDoc(style.ToXML(version, name).Cstr(), false, true);
    }
}

ReadStatus BeginRead(KrTheme3D& theme, KrTheme3D::KrTheme3DType& typeSlot, KrTheme3D::KrTheme3DType ownType,
                     const BsxUnicodeString& xml, int& version, bool checkVersion, bool checkType)
{
    version = NormaliseVersion(version);
    if (checkVersion && !IsSupportedVersion(version)) return ReadStatus::Unsupported;
    if (xml.IsEmpty()) return ReadStatus::Empty;
    const bool ok = theme.KrTheme3D::FromXML(xml, version, BsxUnicodeString());
    const KrTheme3D::KrTheme3DType read = typeSlot;
    typeSlot = ownType;
    if (!ok) return ReadStatus::BaseFailed;
    if (checkType && read != ownType) return ReadStatus::ForeignType;
    return ReadStatus::Read;
}

bool ReadText(KrMarkup& markup, const wchar_t* name, BsxUnicodeString& text)
{
    if (!markup.FindChildElem(name)) return false;
    text = markup.GetChildData();
    return true;
}

bool ReadStyle(KrMarkup& markup, const wchar_t* name, KrStyle& style, int version, const BsxUnicodeString* iconDir)
{
    if (!markup.FindChildElem(name)) return false;
    style.FromXML(markup.GetChildSubDoc(), version);
    if (iconDir && !style.GetIconName().IsEmpty()) style.SetIconName(AbsoluteIconName(style.GetIconName(), *iconDir));
    return true;
}

void AddItemRecord(KrMarkup& markup, const KrTheme3DItem& item, int version, const BsxUnicodeString& iconDir)
{
    AddText(markup, kCaptionName, item.Caption);
    AddBool(markup, kVisibleName, item.Visible);
    AddBool(markup, kModellingName, item.ModellingStyleEnabled);
    AddStyle(markup, item.Style, version, nullptr, &iconDir);
}

void ReadItemRecord(KrMarkup& markup, KrTheme3DItem& working, int version, const BsxUnicodeString& iconDir)
{
    ReadText(markup, kCaptionName, working.Caption);
    BsxUnicodeString text;
    if (ReadText(markup, kVisibleName, text)) working.Visible = ReadFalseIsFalse(text);
    working.ModellingStyleEnabled = ReadText(markup, kModellingName, text) ? ReadFalseIsFalse(text) : true;
    ReadStyle(markup, kStyleName, working.Style, version, &iconDir);
}

BsxUnicodeString NumberedName(const wchar_t* prefix, int index) { return BsxUnicodeString(prefix) + Int(index); }

int NumberedIndex(const BsxUnicodeString& name, const wchar_t* prefix)
{
    const std::wstring& s = name.Str();
    const std::wstring p(prefix);
    if (s.size() <= p.size() || s.compare(0, p.size(), p) != 0) return -1;
    const size_t first = p.size();
    // "%d" writes no sign and no leading zero, so "tdx:Key01" is never searched for
    if (s[first] == L'0' && s.size() > first + 1) return -1;
    long long value = 0;
    for (size_t i = first; i < s.size(); ++i) {
        if (s[i] < L'0' || s[i] > L'9') return -1;
        value = value * 10 + (s[i] - L'0');
        if (value > INT_MAX) return -1;
    }
    return static_cast<int>(value);
}

std::vector<NumberedChild> ReadNumberedChildren(KrMarkup& markup, const wchar_t* prefix, int count)
{
    // Candidates as (index, position among the following children)
    std::vector<std::pair<int, int>> hits;
    std::vector<BsxUnicodeString> texts;
    while (markup.FindChildElem(nullptr)) {
        const int index = NumberedIndex(markup.GetChildTagName(), prefix);
        if (index < 0 || index >= count) continue;
        hits.emplace_back(index, static_cast<int>(texts.size()));
        texts.push_back(markup.GetChildData());
    }
    std::sort(hits.begin(), hits.end());
    // Searching for index 0, 1, ... in turn, each forward from the last hit: an index is found
    // at its first occurrence after the previous hit, or not at all
    std::vector<NumberedChild> result;
    int last = -1;
    for (size_t i = 0; i < hits.size();) {
        const int index = hits[i].first;
        size_t j = i;
        while (j < hits.size() && hits[j].first == index && hits[j].second <= last) ++j;
        if (j < hits.size() && hits[j].first == index) {
            last = hits[j].second;
            result.push_back(NumberedChild{index, texts[static_cast<size_t>(last)]});
        }
        while (i < hits.size() && hits[i].first == index) ++i;
    }
    return result;
}

int ClampClaimedCount(int claimed, const BsxUnicodeString& document)
{
    if (claimed <= 0) return 0;
    return std::min(claimed, document.GetLength());
}

const wchar_t* KeywordOf(const KeywordTable& table, int code)
{
    const wchar_t* fallback = L"";
    for (int i = 0; i < table.count; ++i) {
        if (table.entries[i].code == code) return table.entries[i].name;
        if (table.entries[i].code == table.fallback) fallback = table.entries[i].name;
    }
    return fallback;
}

bool FindCode(const KeywordTable& table, const BsxUnicodeString& text, int& code)
{
    for (int i = 0; i < table.count; ++i) {
        if (text.CompareNoCase(table.entries[i].name) == 0) {
            code = table.entries[i].code;
            return true;
        }
    }
    return false;
}

int CodeOf(const KeywordTable& table, const BsxUnicodeString& text)
{
    int code = table.fallback;
    FindCode(table, text, code);
    return code;
}

namespace {
// Themes name the same few icons entry after entry, and a name's other form depends on the two
// texts alone: the last answer is kept per thread and given again for the same two texts
struct IconMemo {
    BsxUnicodeString icon, dir, answer;
    bool kept = false;
    template <class F>
    const BsxUnicodeString& Get(const BsxUnicodeString& forIcon, const BsxUnicodeString& forDir, F&& work)
    {
        if (!kept || icon != forIcon || dir != forDir) {
            answer = work();
            icon = forIcon;
            dir = forDir;
            kept = true;
        }
        return answer;
    }
};
} // namespace

BsxUnicodeString RelativeIconName(const BsxUnicodeString& icon, const BsxUnicodeString& dir)
{
    if (icon.IsEmpty()) return BsxUnicodeString();
    thread_local IconMemo memo;
    return memo.Get(icon, dir, [&] { return KrFile::GetRelativePath(dir, KrFile::GetDir(icon)) + KrFile::GetName(icon); });
}

BsxUnicodeString AbsoluteIconName(const BsxUnicodeString& icon, const BsxUnicodeString& dir)
{
    if (icon.IsEmpty()) return icon;
    thread_local IconMemo memo;
    return memo.Get(icon, dir, [&] { return KrFile::GetAbsolutePath(dir, icon); });
}

} // namespace ThemeXml

namespace ThemeLog {

void Formatted(const wchar_t* id, const wchar_t* className, const wchar_t* sourceFile, int line)
{
    KrStringEx text;
    text.LoadResString(id);
    BSX::BsxUnicodeString message;
    message.Format(text.Cstr(), className);
    KrLogFile::GetInstance(false)->RecordLog(LOG_ERROR, id, message, sourceFile, line);
}

void Plain(const wchar_t* id, const wchar_t* sourceFile, int line)
{
    KrLogFile::GetInstance(false)->RecordLog(LOG_ERROR, id, sourceFile, line);
}

} // namespace ThemeLog
} // namespace KRN
