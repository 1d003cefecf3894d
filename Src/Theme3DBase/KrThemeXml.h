#pragma once
// Persistence conventions every theme kind shares: format versions, the "tdx:Theme3D"
// envelope, value encodings, embedded styles with relative icon files, and log records.
#include <vector>

#include "BsxUnicodeString.h"
#include "KrMarkup.h"
#include "KrStyle.h"
#include "KrTheme3D.h"
#include "KrTheme3DItem.h"

namespace KRN {
namespace ThemeXml {

constexpr int kVersion20031211 = 20031211;
constexpr int kVersion20031212 = 20031212;
constexpr int kVersion20090106 = 20090106;
constexpr int kVersion20120328 = 20120328;
constexpr const wchar_t* kRootName = L"tdx:Theme3D";
constexpr const wchar_t* kStyleName = L"tdx:Style";
constexpr const wchar_t* kFieldExpressionName = L"tdx:FieldExpression";
constexpr const wchar_t* kCaptionName = L"tdx:Caption";

// 0 stands for 20090106
int NormaliseVersion(int version);
// 20090106 and 20120328 (after normalisation)
bool IsSupportedVersion(int version);

// Reals. Every real the module writes goes through Real or FixedReal, and every real it reads
// back through kratof (or, for a range text, the string's own reading), so one rule holds for all
// of them: a value that is not finite keeps its value through any number of saves. Infinity is
// written "inf" or "-inf" and NaN "nan" (whatever its sign bit), the words "%f" itself prints, and
// kratof reads them back as the C library does ("inf", "infinity", "nan", any case, signed).
// Writing them as 0 instead would not be stable: an overflowing "1e400" or the logarithm of a
// zero sum would turn into 0 on the first save, and in a range theme a 0 can coincide with a
// neighbouring break, so the next reading merges the two and the third save differs again.
//
// "%.15f" with trailing zeros and then a trailing point removed: 0.1, 3, 0, 2.5
BSX::BsxUnicodeString Real(double value);
// "%f": six decimals, zeros kept (the chart item's array values)
BSX::BsxUnicodeString FixedReal(double value);
BSX::BsxUnicodeString Int(int value);
inline const wchar_t* Bool(bool value) { return value ? L"TRUE" : L"FALSE"; }
// Boolean readers: only "FALSE" is false / only "TRUE" is true (ignoring case)
bool ReadFalseIsFalse(const BSX::BsxUnicodeString& text);
bool ReadTrueIsTrue(const BSX::BsxUnicodeString& text);
// "TRUE" sets true, "FALSE" sets false, anything else leaves member unchanged
void ReadBoolStrict(const BSX::BsxUnicodeString& text, bool& member);

// Writing ---------------------------------------------------------------------------
// Opens markup inside the root of the base part. On false the kind answers result at once
// (the empty text for an unsupported version, or the base text when it is empty or rootless).
// The graph kind passes checkVersion=false and checks the version itself afterwards.
bool BeginWrite(const KrTheme3D& theme, int& version, KrMarkup& markup, BSX::BsxUnicodeString& result,
                bool checkVersion = true);
void AddText(KrMarkup& markup, const wchar_t* name, const BSX::BsxUnicodeString& text);
void AddReal(KrMarkup& markup, const wchar_t* name, double value);
void AddInt(KrMarkup& markup, const wchar_t* name, int value);
void AddBool(KrMarkup& markup, const wchar_t* name, bool value);
// An empty container element, stepped into (leave with markup.OutOfElem())
void OpenContainer(KrMarkup& markup, const wchar_t* name);
// A style sub-document under elementName ("tdx:Style" when null); with a non-null iconDir the
// icon name is written relative to it. The theme's own style is not changed.
void AddStyle(KrMarkup& markup, const KrStyle& style, int version, const wchar_t* elementName,
              const BSX::BsxUnicodeString* iconDir = nullptr);

// Reading ---------------------------------------------------------------------------
enum class ReadStatus { Read, Unsupported, Empty, BaseFailed, ForeignType };
// Steps shared by every reader up to the kind's own elements: version, empty text, the base
// part and the type check. The kind's type code (typeSlot) is ownType afterwards in every case.
// checkVersion=false reads every version; checkType=false skips the type check.
ReadStatus BeginRead(KrTheme3D& theme, KrTheme3D::KrTheme3DType& typeSlot, KrTheme3D::KrTheme3DType ownType,
                     const BSX::BsxUnicodeString& xml, int& version, bool checkVersion = true, bool checkType = true);
// Next child of that name (forward only); its text into text
bool ReadText(KrMarkup& markup, const wchar_t* name, BSX::BsxUnicodeString& text);
// Next child of that name read as a style; with a non-null iconDir a non-empty icon name is
// made absolute against it. False when the element is absent.
bool ReadStyle(KrMarkup& markup, const wchar_t* name, KrStyle& style, int version,
               const BSX::BsxUnicodeString* iconDir = nullptr);

// Item records --------------------------------------------------------------------------
// The fields of a unique or range entry after its key: caption, visibility, modelling flag and
// the style, with the icon name relative to iconDir (the item itself is not changed)
void AddItemRecord(KrMarkup& markup, const KrTheme3DItem& item, int version, const BSX::BsxUnicodeString& iconDir);
// Reads those fields from the current element, forward from its current child, into working.
// A caption, visibility or style the record lacks keeps working's value, so one working item
// passed from entry to entry gives each entry what the one before it had; a missing modelling
// flag reads as true.
void ReadItemRecord(KrMarkup& markup, KrTheme3DItem& working, int version, const BSX::BsxUnicodeString& iconDir);

// Numbered children ("tdx:Key0", "tdx:Key1", ...) -----------------------------------------
BSX::BsxUnicodeString NumberedName(const wchar_t* prefix, int index);
// Index of a child named exactly "<prefix>%d" for a non-negative %d, or -1
int NumberedIndex(const BSX::BsxUnicodeString& name, const wchar_t* prefix);
struct NumberedChild {
    int index;
    BSX::BsxUnicodeString text;
};
// The numbered children "<prefix>0" to "<prefix>(count-1)" that follow the current child, as
// count forward searches for them in turn would find them, in ascending order of index. The
// work is bounded by the children the document holds, not by count.
std::vector<NumberedChild> ReadNumberedChildren(KrMarkup& markup, const wchar_t* prefix, int count);
// Number of entries a claimed count may make: never more than the document has characters,
// since a document cannot describe more entries than that
int ClampClaimedCount(int claimed, const BSX::BsxUnicodeString& document);

// Keyword enumerations --------------------------------------------------------------------
struct Keyword {
    int code;
    const wchar_t* name;
};
// The fallback code's keyword is written for a code the table lacks (the empty text when the
// fallback is not in the table either), and CodeOf answers the fallback for an unknown keyword
struct KeywordTable {
    const Keyword* entries;
    int count;
    int fallback;
};
const wchar_t* KeywordOf(const KeywordTable& table, int code);
// Keywords match ignoring case; false for an unknown keyword, code unchanged
bool FindCode(const KeywordTable& table, const BSX::BsxUnicodeString& text, int& code);
int CodeOf(const KeywordTable& table, const BSX::BsxUnicodeString& text);

// Icon files
BSX::BsxUnicodeString RelativeIconName(const BSX::BsxUnicodeString& icon, const BSX::BsxUnicodeString& dir);
BSX::BsxUnicodeString AbsoluteIconName(const BSX::BsxUnicodeString& icon, const BSX::BsxUnicodeString& dir);

} // namespace ThemeXml

namespace ThemeLog {
// Formatted record at level 400: the resource text of id formatted with the class name
void Formatted(const wchar_t* id, const wchar_t* className, const wchar_t* sourceFile, int line);
// Plain record at level 400: the log resolves the id
void Plain(const wchar_t* id, const wchar_t* sourceFile, int line);
} // namespace ThemeLog

} // namespace KRN
