#include "KrMarkup.h"

#include <pugixml.hpp>
#include <cwchar>

namespace KRN {

using BSX::BsxUnicodeString;

struct KrMarkup::Impl {
    pugi::xml_document doc;
    bool wellFormed = true;
    pugi::xml_node parent;  // the level FindElem searches
    pugi::xml_node element; // current element, null before the first
    pugi::xml_node child;   // current child, null before the first

    void Reset()
    {
        parent = doc;
        element = pugi::xml_node();
        child = pugi::xml_node();
    }
    // The root when no element has been chosen yet
    bool EnsureElement()
    {
        if (element) return true;
        if (parent != doc) return false;
        for (pugi::xml_node n = doc.first_child(); n; n = n.next_sibling())
            if (n.type() == pugi::node_element) { element = n; child = pugi::xml_node(); return true; }
        return false;
    }
};

namespace {
// Line ends and attribute white space are kept as written, so that a text holding "\r" or a
// key holding a line break comes back unchanged
const unsigned kParseFlags = (pugi::parse_default & ~(pugi::parse_eol | pugi::parse_wconv_attribute)) | pugi::parse_ws_pcdata_single;

std::string Utf8(const wchar_t* text) { return text ? BsxUnicodeString::ToUtf8(text, std::wcslen(text)) : std::string(); }

// Collects printed XML straight into a string
struct StringWriter : pugi::xml_writer {
    std::string text;
    void write(const void* data, size_t size) override { text.append(static_cast<const char*>(data), size); }
};
BsxUnicodeString Wide(const char* text) { return BsxUnicodeString::FromUtf8(text ? text : ""); }

bool NameMatches(const pugi::xml_node& n, const std::string& name)
{
    return n.type() == pugi::node_element && (name.empty() || name == n.name());
}

pugi::xml_node NextMatch(pugi::xml_node from, const std::string& name)
{
    for (; from; from = from.next_sibling())
        if (NameMatches(from, name)) return from;
    return pugi::xml_node();
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

KrMarkup::KrMarkup() : m_impl(new Impl) { m_impl->Reset(); }

KrMarkup::KrMarkup(const wchar_t* text) : m_impl(new Impl) { SetDoc(text); }

KrMarkup::~KrMarkup() = default;

bool KrMarkup::SetDoc(const wchar_t* text)
{
    m_impl->doc.reset();
    m_impl->wellFormed = true;
    if (text && *text) {
        const std::string utf8 = Utf8(text);
        pugi::xml_parse_result r = m_impl->doc.load_buffer(utf8.data(), utf8.size(), kParseFlags, pugi::encoding_utf8);
        if (!r) {
            m_impl->doc.reset();
            m_impl->wellFormed = false;
        }
    }
    m_impl->Reset();
    return m_impl->wellFormed;
}

bool KrMarkup::IsWellFormed() const { return m_impl->wellFormed; }

BsxUnicodeString KrMarkup::GetDoc() const
{
    StringWriter out;
    m_impl->doc.save(out, "  ", pugi::format_indent | pugi::format_no_declaration, pugi::encoding_utf8);
    return BsxUnicodeString::FromUtf8(out.text);
}

bool KrMarkup::FindElem(const wchar_t* name)
{
    const std::string n = Utf8(name);
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
    const std::string n = Utf8(name);
    pugi::xml_node start = m_impl->child ? m_impl->child.next_sibling() : m_impl->element.first_child();
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
    if (!m_impl->element || m_impl->parent == m_impl->doc) return false;
    m_impl->child = m_impl->element;
    m_impl->element = m_impl->parent;
    m_impl->parent = m_impl->element.parent();
    return true;
}

BsxUnicodeString KrMarkup::GetTagName() const { return Wide(m_impl->element.name()); }
BsxUnicodeString KrMarkup::GetData() const { return Wide(m_impl->element.text().get()); }
BsxUnicodeString KrMarkup::GetChildTagName() const { return Wide(m_impl->child.name()); }
BsxUnicodeString KrMarkup::GetChildData() const { return Wide(m_impl->child.text().get()); }

BsxUnicodeString KrMarkup::GetChildSubDoc() const
{
    if (!m_impl->child) return BsxUnicodeString();
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

bool KrMarkup::AddElem(const wchar_t* name, const wchar_t* text, bool insertBefore, bool asChild)
{
    if (!name || !*name) return false;
    const std::string n = Utf8(name);
    pugi::xml_node added;
    if (asChild) {
        if (!m_impl->EnsureElement()) return false;
        added = insertBefore ? m_impl->element.prepend_child(n.c_str()) : m_impl->element.append_child(n.c_str());
        if (!added) return false;
        m_impl->child = added;
    } else {
        pugi::xml_node level = m_impl->parent;
        if (insertBefore) added = m_impl->element ? level.insert_child_before(n.c_str(), m_impl->element) : level.prepend_child(n.c_str());
        else added = m_impl->element ? level.insert_child_after(n.c_str(), m_impl->element) : level.append_child(n.c_str());
        if (!added) return false;
        m_impl->element = added;
        m_impl->child = pugi::xml_node();
    }
    if (text && *text) added.text().set(Utf8(text).c_str());
    return true;
}

bool KrMarkup::AddSubDoc(const wchar_t* xml, bool insertBefore, bool asChild)
{
    if (!xml || !*xml) return false;
    pugi::xml_document fragment;
    const std::string utf8 = Utf8(xml);
    if (!fragment.load_buffer(utf8.data(), utf8.size(), kParseFlags, pugi::encoding_utf8)) return false;
    pugi::xml_node src = fragment.document_element();
    if (!src) return false;
    pugi::xml_node added;
    if (asChild) {
        if (!m_impl->EnsureElement()) return false;
        added = insertBefore ? m_impl->element.prepend_copy(src) : m_impl->element.append_copy(src);
        if (!added) return false;
        m_impl->child = added;
    } else {
        pugi::xml_node level = m_impl->parent;
        if (insertBefore) added = m_impl->element ? level.insert_copy_before(src, m_impl->element) : level.prepend_copy(src);
        else added = m_impl->element ? level.insert_copy_after(src, m_impl->element) : level.append_copy(src);
        if (!added) return false;
        m_impl->element = added;
        m_impl->child = pugi::xml_node();
    }
    return true;
}

bool KrMarkup::SetAttrib(int position, const wchar_t* name, const wchar_t* value)
{
    pugi::xml_node target = position == MNT_CHILD ? m_impl->child : m_impl->element;
    if (!target || !name || !*name) return false;
    const std::string n = Utf8(name);
    pugi::xml_attribute a = target.attribute(n.c_str());
    if (!a) a = target.append_attribute(n.c_str());
    return a.set_value(Utf8(value ? value : L"").c_str());
}

} // namespace KRN
