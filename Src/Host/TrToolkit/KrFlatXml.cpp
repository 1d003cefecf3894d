#include "KrFlatXml.h"

#include <algorithm>
#include <cwchar>

namespace KRN {
namespace FlatXml {

namespace {

bool IsSpace(wchar_t c) { return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n'; }

// Name characters looked up in a table, as every tag of every style goes through here
enum : unsigned char { kNameStart = 1, kNameChar = 2 };
struct NameTable {
    unsigned char kind[128] = {};
    constexpr NameTable()
    {
        for (unsigned c = 0; c < 128; ++c)
            kind[c] = static_cast<unsigned char>((IsNameStartCode(c) ? kNameStart : 0) | (IsNameCode(c) ? kNameChar : 0));
    }
};
constexpr NameTable kNames;

bool Is(wchar_t c, unsigned char kind)
{
    const auto code = static_cast<unsigned long>(c);
    return code < 128 && (kNames.kind[code] & kind) != 0;
}
bool IsNameStart(wchar_t c) { return Is(c, kNameStart); }
bool IsNameChar(wchar_t c) { return Is(c, kNameChar); }

// What the conversion to UTF-8 keeps as it is
bool HasUtf8Form(wchar_t c)
{
    const auto cp = static_cast<unsigned long>(c);
    return cp <= 0x10FFFF && (cp < 0xD800 || cp > 0xDFFF);
}

const wchar_t* SkipSpace(const wchar_t* p)
{
    while (IsSpace(*p)) ++p;
    return p;
}

// The helpers below take the position and answer the one after what they read, or null when
// the text does not go on as they expect; positions stay in locals, which keeps these loops tight.

// "<name" then optional white space and ">" or "/>"
const wchar_t* OpenTag(const wchar_t* p, std::wstring_view& name, bool& empty)
{
    if (*p != L'<' || !IsNameStart(p[1])) return nullptr;
    const wchar_t* const start = ++p;
    while (IsNameChar(*p)) ++p;
    name = std::wstring_view(start, static_cast<size_t>(p - start));
    p = SkipSpace(p);
    if (*p == L'>') {
        empty = false;
        return p + 1;
    }
    if (p[0] == L'/' && p[1] == L'>') {
        empty = true;
        return p + 2;
    }
    return nullptr;
}

// "</name" then optional white space and ">"
const wchar_t* CloseTag(const wchar_t* p, std::wstring_view name)
{
    if (p[0] != L'<' || p[1] != L'/') return nullptr;
    p += 2;
    // Compared a character at a time, so that a text ending early is never read past its end
    for (const wchar_t c : name)
        if (*p++ != c) return nullptr;
    if (IsNameChar(*p)) return nullptr;
    p = SkipSpace(p);
    return *p == L'>' ? p + 1 : nullptr;
}

// Text up to the next "<"; null at a reference, a character without a UTF-8 form or the end
const wchar_t* Text(const wchar_t* p, std::wstring_view& text)
{
    const wchar_t* const start = p;
    for (;; ++p) {
        const auto c = static_cast<unsigned long>(*p);
        // Below "=" lie all three characters that stop the text; most characters are above
        if (c < L'=') {
            if (c == L'<') break;
            if (c == 0 || c == L'&') return nullptr;
        } else if (c >= 0xD800 && !HasUtf8Form(*p)) {
            return nullptr;
        }
    }
    text = std::wstring_view(start, static_cast<size_t>(p - start));
    return p;
}

bool IsBlank(std::wstring_view text)
{
    for (wchar_t c : text)
        if (!IsSpace(c)) return false;
    return true;
}

} // namespace

bool Split(const wchar_t* text, Document& document)
{
    document.children.clear();
    document.rootText = std::wstring_view();
    if (!text) return false;
    bool empty = false;
    const wchar_t* p = OpenTag(SkipSpace(text), document.root, empty);
    if (!p) return false;
    if (!empty) {
        std::wstring_view between;
        if (!(p = Text(p, between))) return false;
        while (p[1] != L'/') {
            // White space between children is not kept; other text beside children is not flat
            if (!IsBlank(between)) return false;
            Element child;
            bool childEmpty = false;
            if (!(p = OpenTag(p, child.name, childEmpty))) return false;
            if (!childEmpty && !((p = Text(p, child.text)) && (p = CloseTag(p, child.name)))) return false;
            document.children.push_back(child);
            if (!(p = Text(p, between))) return false;
        }
        // Text that is the root's only content is kept, white space included
        if (document.children.empty()) document.rootText = between;
        else if (!IsBlank(between)) return false;
        if (!(p = CloseTag(p, document.root))) return false;
    }
    return *SkipSpace(p) == 0;
}

bool IsName(std::wstring_view text)
{
    if (text.empty() || !IsNameStart(text[0])) return false;
    for (const wchar_t c : text)
        if (!IsNameChar(c)) return false;
    return true;
}

namespace {
struct Recent {
    std::wstring text;
    Document parts;
    bool kept = false;
};
Recent& TheRecent()
{
    thread_local Recent recent;
    return recent;
}
} // namespace

void Remember(std::wstring_view text, Span root, const std::vector<SpannedElement>& children)
{
    Recent& recent = TheRecent();
    recent.text.assign(text.data(), text.size());
    const std::wstring_view kept(recent.text);
    recent.parts.root = kept.substr(root.start, root.length);
    recent.parts.rootText = std::wstring_view();
    recent.parts.children.clear();
    for (const SpannedElement& child : children)
        recent.parts.children.push_back(Element{kept.substr(child.name.start, child.name.length),
                                                kept.substr(child.text.start, child.text.length)});
    recent.kept = true;
}

const Document* SplitRecent(const wchar_t* text, Document& scratch)
{
    const Recent& recent = TheRecent();
    // Compared up to and with the kept text's terminator, so never past the end of either
    if (text && recent.kept && std::wcsncmp(text, recent.text.c_str(), recent.text.size() + 1) == 0) return &recent.parts;
    return Split(text, scratch) ? &scratch : nullptr;
}

Writer::Writer(std::wstring_view root) : m_root(root)
{
    for (wchar_t& c : m_root)
        if (!HasUtf8Form(c)) c = L'\xFFFD';
    // A style prints in about a thousand characters; the text is written in place and only
    // grows for a longer one
    m_text.resize(2048);
    wchar_t* p = Room(1 + m_root.size());
    *p++ = L'<';
    Put(p, m_root);
    m_used = 1 + m_root.size();
    m_plain = IsName(m_root);
    m_parts.reserve(32);
}

wchar_t* Writer::Room(size_t n)
{
    if (m_text.size() - m_used < n) m_text.resize(std::max(2 * m_text.size(), m_used + n));
    return &m_text[m_used];
}

void Writer::Put(wchar_t*& p, std::wstring_view text)
{
    std::char_traits<wchar_t>::copy(p, text.data(), text.size());
    p += text.size();
}

void Writer::Add(std::wstring_view name, std::wstring_view text)
{
    // The longest form: every character of the text replaced by a five-character reference
    wchar_t* const start = Room(2 + 3 + 2 * name.size() + 5 * text.size() + 6);
    wchar_t* p = start;
    if (m_empty) {
        *p++ = L'>';
        *p++ = L'\n';
    }
    m_empty = false;
    *p++ = L' ';
    *p++ = L' ';
    *p++ = L'<';
    SpannedElement part;
    part.name = Span{m_used + static_cast<size_t>(p - start), name.size()};
    Put(p, name);
    m_plain = m_plain && IsName(name);
    if (text.empty()) {
        part.text = Span{m_used + static_cast<size_t>(p - start), 0};
        Put(p, L" />\n");
    } else {
        *p++ = L'>';
        const wchar_t* const textStart = p;
        for (const wchar_t c : text) {
            const auto code = static_cast<unsigned long>(c);
            // Most characters are above any that is replaced or escaped
            if (code >= L'?' && code < 0xD800) {
                *p++ = c;
            } else if (code < 0x80 && NeedsEscape(code, false)) {
                char replacement[6];
                const size_t n = Escape(code, replacement);
                for (size_t k = 0; k < n; ++k) *p++ = static_cast<wchar_t>(replacement[k]);
                m_plain = false;
            } else {
                *p++ = HasUtf8Form(c) ? c : L'\xFFFD';
            }
        }
        part.text = Span{m_used + static_cast<size_t>(textStart - start), static_cast<size_t>(p - textStart)};
        *p++ = L'<';
        *p++ = L'/';
        Put(p, name);
        *p++ = L'>';
        *p++ = L'\n';
    }
    m_used += static_cast<size_t>(p - start);
    if (m_plain) m_parts.push_back(part);
}

std::wstring Writer::Finish()
{
    wchar_t* const start = Room(4 + m_root.size() + 2);
    wchar_t* p = start;
    if (m_empty) {
        Put(p, L" />\n");
    } else {
        *p++ = L'<';
        *p++ = L'/';
        Put(p, m_root);
        *p++ = L'>';
        *p++ = L'\n';
    }
    m_used += static_cast<size_t>(p - start);
    m_text.resize(m_used);
    if (m_plain) Remember(m_text, Span{1, m_root.size()}, m_parts);
    return std::move(m_text);
}

} // namespace FlatXml
} // namespace KRN
