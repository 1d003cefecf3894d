#pragma once
// Flat documents: one root element whose children are simple elements, each holding text at
// most. Styles and text styles are such documents, and themes hold one per entry, so the toolkit
// reads and writes them without building a tree. Anything a flat document does not have
// (attributes, references, comments, nested elements) makes Split answer false, and the caller
// then takes the full parser, which is the one that decides such text.
// Not part of the toolkit's API.
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace KRN {
namespace FlatXml {

struct Element {
    std::wstring_view name;
    std::wstring_view text;
};

struct Document {
    std::wstring_view root;
    // The root's own text: only when it has no children
    std::wstring_view rootText;
    std::vector<Element> children;
};

// Splits text (up to its first NUL) as the XML parser would read it; false when the text is not
// a flat document in the plain form described above, or holds a character the conversion to
// UTF-8 would replace
bool Split(const wchar_t* text, Document& document);

// Whether text is a name as the flat form has them: an ASCII letter, "_" or ":", then also
// digits, "-" and "."
bool IsName(std::wstring_view text);

// Where the parts of a flat document lie in its text, for a writer that knows them as it writes
struct Span {
    size_t start = 0, length = 0;
};
struct SpannedElement {
    Span name, text;
};

// A writer of flat documents (a style, the cursor printing a style's element) keeps the text it
// wrote last on its thread together with its parts, so that the reader it goes to next (the
// cursor appending a style, a style reading what the cursor printed) takes the parts instead of
// splitting the text again. A writer keeps only a text Split would read into exactly these
// parts: the root and child names are names as above, no text needed escaping, and the root has
// children or no content at all. A reader recognises the text only by comparing it whole with
// what was kept, so a text kept long ago, or changed since, is never mistaken for another.
void Remember(std::wstring_view text, Span root, const std::vector<SpannedElement>& children);
// What Split(text, scratch) would give: the parts kept for the very same text when there are
// (views into the kept copy, valid until this thread keeps another), else scratch split; null
// when the text is not flat
const Document* SplitRecent(const wchar_t* text, Document& scratch);

// Name characters of the flat form, ASCII only: letters, "_" and ":" to start a name, and
// digits, "-" and "." after. The reader and the printer both go by these, so a text the printer
// keeps as flat is one the reader splits.
constexpr bool IsNameStartCode(unsigned long c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':';
}
constexpr bool IsNameCode(unsigned long c) { return IsNameStartCode(c) || (c >= '0' && c <= '9') || c == '-' || c == '.'; }

// How the XML printer writes a character of element text (attribute false) or of an attribute
// value: whether it is replaced, and by what (Escape writes the replacement, answers its length).
// Element text keeps tabs and line ends; an attribute value replaces them, and quotes, but not ">".
constexpr bool NeedsEscape(unsigned long c, bool attribute)
{
    if (c >= 32) return c == '&' || c == '<' || (attribute ? c == '"' : c == '>');
    return attribute || (c != '\t' && c != '\n' && c != '\r');
}
constexpr size_t Escape(unsigned long c, char (&out)[6])
{
    const char* named = c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '"' ? "&quot;" : nullptr;
    if (named) {
        size_t n = 0;
        for (; named[n]; ++n) out[n] = named[n];
        return n;
    }
    // Control characters as a two-digit decimal reference
    out[0] = '&';
    out[1] = '#';
    out[2] = static_cast<char>('0' + c / 10);
    out[3] = static_cast<char>('0' + c % 10);
    out[4] = ';';
    return 5;
}

// Writes a flat document as the cursor's GetDoc prints it: two spaces of indentation, an empty
// element as "<name />", a line end after every element
class Writer {
public:
    explicit Writer(std::wstring_view root);
    // A child; empty text makes an empty element
    void Add(std::wstring_view name, std::wstring_view text);
    // The finished document (the writer is spent)
    std::wstring Finish();

private:
    // Room for n more characters, written from the pointer answered
    wchar_t* Room(size_t n);
    static void Put(wchar_t*& p, std::wstring_view text);

    std::wstring m_text;
    size_t m_used = 0;
    std::wstring m_root;
    bool m_empty = true;
    // The parts as written, while the document is one Split reads into them (see Remember)
    bool m_plain = true;
    std::vector<SpannedElement> m_parts;
};

} // namespace FlatXml
} // namespace KRN
