#include "KrFlatXml.h"

namespace KRN {
namespace FlatXml {

namespace {

bool IsSpace(wchar_t c) { return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n'; }

bool IsNameStart(wchar_t c) { return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || c == L'_' || c == L':'; }

bool IsNameChar(wchar_t c) { return IsNameStart(c) || (c >= L'0' && c <= L'9') || c == L'-' || c == L'.'; }

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

// "<name" then optional white space and ">" or "/>"; p after the tag
bool OpenTag(const wchar_t*& p, std::wstring_view& name, bool& empty)
{
    if (*p != L'<' || !IsNameStart(p[1])) return false;
    const wchar_t* start = ++p;
    while (IsNameChar(*p)) ++p;
    name = std::wstring_view(start, static_cast<size_t>(p - start));
    p = SkipSpace(p);
    if (*p == L'>') {
        empty = false;
        ++p;
        return true;
    }
    if (p[0] == L'/' && p[1] == L'>') {
        empty = true;
        p += 2;
        return true;
    }
    return false;
}

// "</name" then optional white space and ">"
bool CloseTag(const wchar_t*& p, std::wstring_view name)
{
    if (p[0] != L'<' || p[1] != L'/') return false;
    p += 2;
    if (std::wstring_view(p, name.size()) != name || IsNameChar(p[name.size()])) return false;
    p = SkipSpace(p + name.size());
    if (*p != L'>') return false;
    ++p;
    return true;
}

// Text up to the next "<"; false at a reference, a character without a UTF-8 form or the end
bool Text(const wchar_t*& p, std::wstring_view& text)
{
    const wchar_t* start = p;
    for (; *p != L'<'; ++p)
        if (*p == 0 || *p == L'&' || !HasUtf8Form(*p)) return false;
    text = std::wstring_view(start, static_cast<size_t>(p - start));
    return true;
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
    const wchar_t* p = SkipSpace(text);
    bool empty = false;
    if (!OpenTag(p, document.root, empty)) return false;
    if (!empty) {
        std::wstring_view between;
        if (!Text(p, between)) return false;
        while (p[1] != L'/') {
            // White space between children is not kept; other text beside children is not flat
            if (!IsBlank(between)) return false;
            Element child;
            bool childEmpty = false;
            if (!OpenTag(p, child.name, childEmpty)) return false;
            if (!childEmpty && !(Text(p, child.text) && CloseTag(p, child.name))) return false;
            document.children.push_back(child);
            if (!Text(p, between)) return false;
        }
        // Text that is the root's only content is kept, white space included
        if (document.children.empty()) document.rootText = between;
        else if (!IsBlank(between)) return false;
        if (!CloseTag(p, document.root)) return false;
    }
    p = SkipSpace(p);
    return *p == 0;
}

void AppendText(std::wstring& out, std::wstring_view text)
{
    // Runs that need no escaping are appended whole
    size_t plain = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        const wchar_t c = text[i];
        if (c != L'&' && c != L'<' && c != L'>' && (c >= 32 || c == L'\t' || c == L'\n' || c == L'\r') && HasUtf8Form(c))
            continue;
        out.append(text.data() + plain, i - plain);
        plain = i + 1;
        if (c == L'&') {
            out.append(L"&amp;", 5);
        } else if (c == L'<') {
            out.append(L"&lt;", 4);
        } else if (c == L'>') {
            out.append(L"&gt;", 4);
        } else if (c < 32 && c != L'\t' && c != L'\n' && c != L'\r') {
            const wchar_t code[] = {L'&', L'#', static_cast<wchar_t>(L'0' + c / 10), static_cast<wchar_t>(L'0' + c % 10), L';'};
            out.append(code, 5);
        } else {
            out += L'\xFFFD';
        }
    }
    out.append(text.data() + plain, text.size() - plain);
}

Writer::Writer(std::wstring_view root) : m_root(root)
{
    for (wchar_t& c : m_root)
        if (!HasUtf8Form(c)) c = L'\xFFFD';
    m_text.reserve(1024);
    m_text += L'<';
    m_text += m_root;
}

void Writer::Add(std::wstring_view name, std::wstring_view text)
{
    if (m_empty) m_text.append(L">\n", 2);
    m_empty = false;
    m_text.append(L"  <", 3);
    m_text += name;
    if (text.empty()) {
        m_text.append(L" />\n", 4);
        return;
    }
    m_text += L'>';
    AppendText(m_text, text);
    m_text.append(L"</", 2);
    m_text += name;
    m_text.append(L">\n", 2);
}

std::wstring Writer::Finish()
{
    if (m_empty) {
        m_text.append(L" />\n", 4);
    } else {
        m_text.append(L"</", 2);
        m_text += m_root;
        m_text.append(L">\n", 2);
    }
    return std::move(m_text);
}

} // namespace FlatXml
} // namespace KRN
