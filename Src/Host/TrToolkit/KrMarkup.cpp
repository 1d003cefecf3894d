#include "KrMarkup.h"

#include <pugixml.hpp>
#include <algorithm>
#include <cstring>
#include <cwchar>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "KrFlatXml.h"
#include "KrMarkupTree.h"

namespace KRN {

using BSX::BsxUnicodeString;

namespace {
// A parsed document with the UTF-8 text it was parsed from
struct Parsed {
    pugi::xml_document doc;
    std::string text;
    bool wellFormed = true;
    // Flat fragments appended whole and not yet looked into
    MarkupTree::DeferredFlats deferred;
};

// A document is often parsed twice in a row: the host's base class reads its part of a theme
// document, then the theme reads its own part of the same text. The last parse of each thread
// is kept, and a cursor over the very same text shares it instead of parsing again. A cursor
// that edits a shared document takes a copy of its own first.
thread_local std::shared_ptr<Parsed> t_lastParsed;
} // namespace

struct KrMarkup::Impl {
    std::shared_ptr<Parsed> parsed = std::make_shared<Parsed>();
    pugi::xml_node parent;  // the level FindElem searches
    pugi::xml_node element; // current element, null before the first
    pugi::xml_node child;   // current child, null before the first
    // Conversions of names and texts on their way in reuse these, and so does the reading of a
    // flat fragment, so that a long run of small edits allocates nothing per element
    std::string narrow[2];
    FlatXml::Document flat;
    // The element AddElem added last: never a deferred fragment, so that the first child added
    // to a container just made needs no search among the fragments
    pugi::xml_node plain;

    pugi::xml_document& Doc() const { return parsed->doc; }
    // Before anything looks below node: its children, when they were deferred, become nodes
    pugi::xml_node Expanded(pugi::xml_node node) const
    {
        if (node != plain) parsed->deferred.Expand(node);
        return node;
    }
    void Reset()
    {
        plain = pugi::xml_node();
        parent = parsed->doc;
        element = pugi::xml_node();
        child = pugi::xml_node();
    }
    // The root when no element has been chosen yet
    bool EnsureElement()
    {
        if (element) return true;
        if (parent != Doc()) return false;
        for (pugi::xml_node n = Doc().first_child(); n; n = n.next_sibling())
            if (n.type() == pugi::node_element) { element = n; child = pugi::xml_node(); return true; }
        return false;
    }
    // Before an edit: the document becomes this cursor's own
    void Own();
    // Adds an element of that name, or a copy of source, where AddElem and AddSubDoc put
    // theirs; the node added, null when there is no place for it
    pugi::xml_node Insert(const char* name, const pugi::xml_node* source, bool insertBefore, bool asChild);
};

namespace {
// Line ends and attribute white space are kept as written, so that a text holding "\r" or a
// key holding a line break comes back unchanged
const unsigned kParseFlags = (pugi::parse_default & ~(pugi::parse_eol | pugi::parse_wconv_attribute)) | pugi::parse_ws_pcdata_single;

std::string Utf8(const wchar_t* text) { return text ? BsxUnicodeString::ToUtf8(text, std::wcslen(text)) : std::string(); }

// Text as UTF-8 in buffer; plain ASCII is copied as it is
const char* Narrow(std::wstring_view text, std::string& buffer)
{
    buffer.resize(text.size());
    char* out = &buffer[0];
    for (const wchar_t c : text) {
        if (c < 0 || c >= 0x80) {
            buffer = BsxUnicodeString::ToUtf8(text.data(), text.size());
            break;
        }
        *out++ = static_cast<char>(c);
    }
    return buffer.c_str();
}

// Collects printed XML straight into a string
struct StringWriter : pugi::xml_writer {
    std::string text;
    void write(const void* data, size_t size) override { text.append(static_cast<const char*>(data), size); }
};
// Collects a printed document in blocks, so that a long one is never copied to grow and its
// wide form is sized once
struct BlockWriter : pugi::xml_writer {
    static constexpr size_t kBlock = 1 << 20;
    std::vector<std::string> blocks;
    size_t size = 0;
    void write(const void* data, size_t length) override
    {
        size += length;
        if (blocks.empty() || blocks.back().capacity() - blocks.back().size() < length) {
            blocks.emplace_back();
            blocks.back().reserve(std::max(kBlock, length));
        }
        blocks.back().append(static_cast<const char*>(data), length);
    }

    // The blocks as one wide text. A block may end inside a character, so the text is
    // converted in pieces that end before a byte that starts a character: cut there, each
    // piece converts exactly as it would inside the whole text.
    std::wstring Wide() const
    {
        const auto starts = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; };
        std::wstring text;
        text.reserve(size);
        std::string carry;
        for (const std::string& block : blocks) {
            const char* b = block.data();
            size_t last = block.size();
            while (last > 0 && !starts(b[last - 1])) --last;
            if (last == 0) {
                carry.append(block);
                continue;
            }
            --last;
            size_t first = 0;
            while (!starts(b[first])) ++first;
            carry.append(b, first);
            BsxUnicodeString::AppendUtf8(text, carry.data(), carry.size());
            BsxUnicodeString::AppendUtf8(text, b + first, last - first);
            carry.assign(b + last, block.size() - last);
        }
        BsxUnicodeString::AppendUtf8(text, carry.data(), carry.size());
        return text;
    }
};

BsxUnicodeString Wide(const char* text) { return BsxUnicodeString::FromUtf8(text ? text : ""); }

// An element name to search for; names in plain ASCII are compared without converting them
class Name {
public:
    explicit Name(const wchar_t* name) : m_name(name && *name ? name : nullptr)
    {
        for (const wchar_t* p = m_name; p && *p; ++p)
            if (*p <= 0 || *p >= 0x80) {
                m_utf8 = Utf8(m_name);
                m_ascii = false;
                break;
            }
    }
    bool Matches(const pugi::xml_node& n) const
    {
        if (n.type() != pugi::node_element) return false;
        if (!m_name) return true;
        if (!m_ascii) return m_utf8 == n.name();
        const char* s = n.name();
        const wchar_t* p = m_name;
        for (; *p; ++p, ++s)
            if (*s != static_cast<char>(*p)) return false;
        return *s == 0;
    }

private:
    const wchar_t* m_name;
    bool m_ascii = true;
    std::string m_utf8;
};

pugi::xml_node NextMatch(pugi::xml_node from, const Name& name)
{
    for (; from; from = from.next_sibling())
        if (name.Matches(from)) return from;
    return pugi::xml_node();
}

// Whether text (up to its NUL) converts to exactly utf8, compared as it converts, without
// converting it whole. The text's end is found a piece at a time as the comparison goes, so that
// a long text is read once; plain ASCII is compared sixteen characters at a time.
bool SameText(const wchar_t* text, const std::string& utf8)
{
    constexpr size_t kPiece = 4096;
    const auto* p = reinterpret_cast<const unsigned char*>(utf8.data());
    const unsigned char* const end = p + utf8.size();
    for (;;) {
        const size_t length = ::wcsnlen(text, kPiece);
        const wchar_t* const pieceEnd = text + length;
        while (text != pieceEnd) {
            while (pieceEnd - text >= 16 && end - p >= 16) {
                unsigned int differ = 0;
                for (size_t b = 0; b < 16; ++b) differ |= (static_cast<unsigned int>(text[b]) ^ p[b]) | (p[b] & 0x80u);
                if (differ) break;
                text += 16;
                p += 16;
            }
            if (text == pieceEnd) break;
            // One character as its conversion writes it, then back to blocks
            unsigned char bytes[4];
            const size_t n = BsxUnicodeString::EncodeUtf8(*text++, bytes);
            if (static_cast<size_t>(end - p) < n) return false;
            for (size_t i = 0; i < n; ++i, ++p)
                if (*p != bytes[i]) return false;
        }
        if (length < kPiece) return p == end;
    }
}

// Positions of a node among its siblings, from the document down
std::vector<size_t> PathOf(pugi::xml_node node)
{
    std::vector<size_t> path;
    for (; node && node.parent(); node = node.parent()) {
        size_t index = 0;
        for (pugi::xml_node n = node.previous_sibling(); n; n = n.previous_sibling()) ++index;
        path.push_back(index);
    }
    return std::vector<size_t>(path.rbegin(), path.rend());
}

pugi::xml_node NodeAt(pugi::xml_node node, const std::vector<size_t>& path)
{
    for (size_t index : path) {
        node = node.first_child();
        for (size_t i = 0; i < index && node; ++i) node = node.next_sibling();
    }
    return node;
}

BsxUnicodeString Serialize(const pugi::xml_node& node)
{
    StringWriter out;
    node.print(out, "  ", pugi::format_indent | pugi::format_no_declaration);
    std::string& s = out.text;
    while (!s.empty() && (s.back() == '\n' || s.back() == '\r')) s.pop_back();
    return BsxUnicodeString::FromUtf8(s);
}
} // namespace

void KrMarkup::Impl::Own()
{
    if (parsed == t_lastParsed) t_lastParsed.reset();
    if (parsed.use_count() == 1) return;
    // Another cursor reads this document: carry the cursor over to a copy
    parsed->deferred.ExpandAll();
    auto copy = std::make_shared<Parsed>();
    copy->doc.reset(parsed->doc);
    copy->wellFormed = parsed->wellFormed;
    const bool hasElement = element, hasChild = child;
    const std::vector<size_t> parentPath = PathOf(parent), elementPath = PathOf(element), childPath = PathOf(child);
    parsed = std::move(copy);
    plain = pugi::xml_node();
    parent = NodeAt(parsed->doc, parentPath);
    element = hasElement ? NodeAt(parsed->doc, elementPath) : pugi::xml_node();
    child = hasChild ? NodeAt(parsed->doc, childPath) : pugi::xml_node();
}

KrMarkup::KrMarkup() : m_impl(new Impl) { m_impl->Reset(); }

KrMarkup::KrMarkup(const wchar_t* text) : m_impl(new Impl) { SetDoc(text); }

KrMarkup::~KrMarkup() = default;

bool KrMarkup::SetDoc(const wchar_t* text)
{
    if (t_lastParsed && text && *text && SameText(text, t_lastParsed->text)) {
        // Served once: the reader that asked again now holds it, and it goes with that reader
        m_impl->parsed = std::move(t_lastParsed);
    } else {
        std::string utf8 = Utf8(text);
        auto parsed = std::make_shared<Parsed>();
        if (!utf8.empty()) {
            pugi::xml_parse_result r = parsed->doc.load_buffer(utf8.data(), utf8.size(), kParseFlags, pugi::encoding_utf8);
            if (!r) {
                parsed->doc.reset();
                parsed->wellFormed = false;
            }
            parsed->text = std::move(utf8);
            t_lastParsed = parsed;
        }
        m_impl->parsed = std::move(parsed);
    }
    m_impl->Reset();
    return m_impl->parsed->wellFormed;
}

bool KrMarkup::IsWellFormed() const { return m_impl->parsed->wellFormed; }

BsxUnicodeString KrMarkup::GetDoc() const
{
    std::wstring text;
    if (MarkupTree::Print(m_impl->Doc(), m_impl->parsed->deferred, text)) return BsxUnicodeString(std::move(text));
    // A document the cursor's printer does not write is printed by the parser
    m_impl->parsed->deferred.ExpandAll();
    BlockWriter out;
    m_impl->Doc().save(out, "  ", pugi::format_indent | pugi::format_no_declaration, pugi::encoding_utf8);
    return BsxUnicodeString(out.Wide());
}

bool KrMarkup::FindElem(const wchar_t* name)
{
    const Name n(name);
    pugi::xml_node start = m_impl->element ? m_impl->element.next_sibling() : m_impl->parent.first_child();
    pugi::xml_node found = NextMatch(start, n);
    if (!found) return false;
    m_impl->element = found;
    m_impl->child = pugi::xml_node();
    return true;
}

bool KrMarkup::FindChildElem(const wchar_t* name)
{
    if (!m_impl->EnsureElement()) return false;
    const Name n(name);
    pugi::xml_node start = m_impl->child ? m_impl->child.next_sibling() : m_impl->Expanded(m_impl->element).first_child();
    pugi::xml_node found = NextMatch(start, n);
    if (!found) return false;
    m_impl->child = found;
    return true;
}

void KrMarkup::ResetChildPos() { m_impl->child = pugi::xml_node(); }

bool KrMarkup::IntoElem()
{
    if (!m_impl->child) return false;
    m_impl->parent = m_impl->element;
    m_impl->element = m_impl->child;
    m_impl->child = pugi::xml_node();
    return true;
}

bool KrMarkup::OutOfElem()
{
    if (!m_impl->element || m_impl->parent == m_impl->Doc()) return false;
    m_impl->child = m_impl->element;
    m_impl->element = m_impl->parent;
    m_impl->parent = m_impl->element.parent();
    return true;
}

BsxUnicodeString KrMarkup::GetTagName() const { return Wide(m_impl->element.name()); }
BsxUnicodeString KrMarkup::GetData() const { return Wide(m_impl->Expanded(m_impl->element).text().get()); }
BsxUnicodeString KrMarkup::GetChildTagName() const { return Wide(m_impl->child.name()); }
BsxUnicodeString KrMarkup::GetChildData() const { return Wide(m_impl->Expanded(m_impl->child).text().get()); }

BsxUnicodeString KrMarkup::GetChildSubDoc() const
{
    if (!m_impl->child) return BsxUnicodeString();
    m_impl->Expanded(m_impl->child);
    std::wstring text;
    if (MarkupTree::PrintElement(m_impl->child, m_impl->parsed->deferred, text)) return BsxUnicodeString(std::move(text));
    // The parser's printer sees nodes only
    m_impl->parsed->deferred.ExpandAll();
    return Serialize(m_impl->child);
}

BsxUnicodeString KrMarkup::GetChildAttrib(const wchar_t* name) const
{
    return Wide(m_impl->child.attribute(Utf8(name).c_str()).value());
}

BsxUnicodeString KrMarkup::GetAttrib(const wchar_t* name) const
{
    return Wide(m_impl->element.attribute(Utf8(name).c_str()).value());
}

pugi::xml_node KrMarkup::Impl::Insert(const char* name, const pugi::xml_node* source, bool insertBefore, bool asChild)
{
    Own();
    pugi::xml_node added;
    if (asChild) {
        if (!EnsureElement()) return added;
        pugi::xml_node parent = Expanded(element);
        if (source) added = insertBefore ? parent.prepend_copy(*source) : parent.append_copy(*source);
        else added = insertBefore ? parent.prepend_child(name) : parent.append_child(name);
        if (added) child = added;
    } else {
        pugi::xml_node level = parent;
        const pugi::xml_node at = element;
        if (source) {
            if (insertBefore) added = at ? level.insert_copy_before(*source, at) : level.prepend_copy(*source);
            else added = at ? level.insert_copy_after(*source, at) : level.append_copy(*source);
        } else {
            if (insertBefore) added = at ? level.insert_child_before(name, at) : level.prepend_child(name);
            else added = at ? level.insert_child_after(name, at) : level.append_child(name);
        }
        if (added) {
            element = added;
            child = pugi::xml_node();
        }
    }
    return added;
}

bool KrMarkup::AddElem(const wchar_t* name, const wchar_t* text, bool insertBefore, bool asChild)
{
    if (!name || !*name) return false;
    pugi::xml_node added = m_impl->Insert(Narrow(name, m_impl->narrow[0]), nullptr, insertBefore, asChild);
    if (!added) return false;
    m_impl->plain = added;
    if (text && *text) added.text().set(Narrow(text, m_impl->narrow[1]));
    return true;
}

bool KrMarkup::AddSubDoc(const wchar_t* xml, bool insertBefore, bool asChild)
{
    if (!xml || !*xml) return false;
    // A flat fragment (a style, say) is built in place; any other goes through the parser
    if (const FlatXml::Document* flat = FlatXml::SplitRecent(xml, m_impl->flat)) {
        pugi::xml_node added = m_impl->Insert(Narrow(flat->root, m_impl->narrow[0]), nullptr, insertBefore, asChild);
        if (!added) return false;
        // Its content stays compact until something looks inside it
        m_impl->parsed->deferred.Defer(added, *flat);
        return true;
    }
    pugi::xml_document fragment;
    const std::string utf8 = Utf8(xml);
    if (!fragment.load_buffer(utf8.data(), utf8.size(), kParseFlags, pugi::encoding_utf8)) return false;
    pugi::xml_node src = fragment.document_element();
    if (!src) return false;
    return m_impl->Insert(nullptr, &src, insertBefore, asChild);
}

bool KrMarkup::SetAttrib(int position, const wchar_t* name, const wchar_t* value)
{
    m_impl->Own();
    pugi::xml_node target = position == MNT_CHILD ? m_impl->child : m_impl->element;
    if (!target || !name || !*name) return false;
    const std::string n = Utf8(name);
    pugi::xml_attribute a = target.attribute(n.c_str());
    if (!a) a = target.append_attribute(n.c_str());
    return a.set_value(Utf8(value ? value : L"").c_str());
}

} // namespace KRN
