#pragma once
// Flat documents: one root element whose children are simple elements, each holding text at
// most. Styles and text styles are such documents, and themes hold one per entry, so the toolkit
// reads and writes them without building a tree. Anything a flat document does not have
// (attributes, references, comments, nested elements) makes Split answer false, and the caller
// then takes the full parser, which is the one that decides such text.
// Not part of the toolkit's API.
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

// Appends text as element content, escaped as the XML printer escapes it; characters without a
// UTF-8 form become U+FFFD, as they do in a printed document
void AppendText(std::wstring& out, std::wstring_view text);

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
    std::wstring m_text;
    std::wstring m_root;
    bool m_empty = true;
};

} // namespace FlatXml
} // namespace KRN
