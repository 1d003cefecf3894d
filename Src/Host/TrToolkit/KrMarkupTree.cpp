#include "KrMarkupTree.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstring>

#include "BsxUnicodeString.h"

namespace KRN {
namespace MarkupTree {

namespace {

// Variable-length numbers: seven bits a byte, low bits first
size_t NumberSize(size_t n)
{
    size_t size = 1;
    for (; n >= 0x80; n >>= 7) ++size;
    return size;
}

unsigned char* PutNumber(unsigned char* p, size_t n)
{
    for (; n >= 0x80; n >>= 7) *p++ = static_cast<unsigned char>(n | 0x80);
    *p++ = static_cast<unsigned char>(n);
    return p;
}

const unsigned char* GetNumber(const unsigned char* p, size_t& n)
{
    n = 0;
    for (unsigned shift = 0;; shift += 7) {
        n |= static_cast<size_t>(*p & 0x7F) << shift;
        if (!(*p++ & 0x80)) return p;
    }
}

// Element text's characters as the printer writes them: how many a character of ASCII becomes
struct PrintedWidths {
    unsigned char width[128] = {};
    constexpr PrintedWidths()
    {
        char replacement[6] = {};
        for (unsigned c = 0; c < 128; ++c) width[c] = static_cast<unsigned char>(FlatXml::NeedsEscape(c, false) ? FlatXml::Escape(c, replacement) : 1);
    }
};
constexpr PrintedWidths kWidths;

// Writes text as UTF-8 after its length (all its characters have a UTF-8 form: a flat document's
// never lack one) and adds to printed how many characters it prints as; answers the end. The
// length goes first in one byte, the common case, and the text moves along when it needs more.
unsigned char* PutText(unsigned char* p, std::wstring_view text, size_t& printed)
{
    unsigned char* const start = p + 1;
    unsigned char* q = start;
    for (const wchar_t c : text) {
        const auto cp = static_cast<unsigned long>(c);
        if (cp < 0x80) {
            *q++ = static_cast<unsigned char>(cp);
            printed += kWidths.width[cp];
        } else {
            ++printed;
            q += BSX::BsxUnicodeString::EncodeUtf8(c, q);
        }
    }
    const size_t bytes = static_cast<size_t>(q - start);
    const size_t prefix = NumberSize(bytes);
    if (prefix > 1) std::memmove(start + prefix - 1, start, bytes);
    PutNumber(p, bytes);
    return p + prefix + bytes;
}

// The most a text takes in a record
size_t MostBytes(std::wstring_view text) { return NumberSize(4 * text.size()) + 4 * text.size(); }

// Reads a record's fields in order
struct RecordReader {
    const unsigned char* p;
    std::string_view Text()
    {
        size_t n = 0;
        p = GetNumber(p, n);
        const char* text = reinterpret_cast<const char*>(p);
        p += n;
        return std::string_view(text, n);
    }
    size_t Number()
    {
        size_t n = 0;
        p = GetNumber(p, n);
        return n;
    }
};

// Records are kept in blocks that double from the first, small for the one style of a small
// document, up to the largest
constexpr size_t kFirstBlock = size_t(1) << 12;
constexpr size_t kLargestBlock = size_t(1) << 20;

} // namespace

void DeferredFlats::Release(size_t size)
{
    m_next -= size;
    m_left += size;
}

unsigned char* DeferredFlats::Allocate(size_t size)
{
    if (size > m_left) {
        m_block = m_blocks.empty() ? kFirstBlock : std::min(2 * m_block, kLargestBlock);
        const size_t block = std::max(m_block, size);
        m_blocks.emplace_back(new unsigned char[block]);
        m_next = m_blocks.back().get();
        m_left = block;
    }
    unsigned char* p = m_next;
    m_next += size;
    m_left -= size;
    return p;
}

bool DeferredFlats::Defer(pugi::xml_node element, const FlatXml::Document& flat)
{
    if (flat.children.empty() && flat.rootText.empty()) return false;
    // Room for the longest form; what the record does not use is handed back
    size_t most = MostBytes(flat.rootText);
    for (const FlatXml::Element& child : flat.children) most += NumberSize(m_names.size() + flat.children.size()) + MostBytes(child.text);
    unsigned char* const data = Allocate(most);
    // ">" and the text, or ">" and a line end before the children
    size_t printed = flat.children.empty() ? 1 : 2;
    unsigned char* p = PutText(data, flat.rootText, printed);
    for (size_t i = 0; i < flat.children.size(); ++i) {
        const FlatXml::Element& child = flat.children[i];
        p = PutNumber(p, NameNumber(child.name, i));
        p = PutText(p, child.text, printed);
        // "<name />" and a line end, or "<name>text</name>" and a line end
        printed += child.text.empty() ? child.name.size() + 5 : 2 * child.name.size() + 6;
    }
    Release(data + most - p);
    m_entries.push_back(Entry{element.internal_object(), Record{data, flat.children.size(), printed}, true});
    ++m_live;
    return true;
}

size_t DeferredFlats::NameNumber(std::wstring_view name, size_t position)
{
    const auto same = [&](size_t number) {
        const std::string& kept = m_names[number];
        return kept.size() == name.size() && std::equal(kept.begin(), kept.end(), name.begin());
    };
    if (m_lastNames.size() <= position) m_lastNames.resize(position + 1, 0);
    size_t& guess = m_lastNames[position];
    if (guess < m_names.size() && same(guess)) return guess;
    for (size_t number = 0; number < m_names.size(); ++number)
        if (same(number)) return guess = number;
    // Flat names are plain ASCII
    m_names.emplace_back(name.begin(), name.end());
    return guess = m_names.size() - 1;
}

const DeferredFlats::Record* DeferredFlats::Find(pugi::xml_node element) const
{
    if (!m_live) return nullptr;
    for (; m_indexed < m_entries.size(); ++m_indexed) m_index[m_entries[m_indexed].element] = m_indexed;
    const auto it = m_index.find(element.internal_object());
    if (it == m_index.end()) return nullptr;
    const Entry& entry = m_entries[it->second];
    return entry.live ? &entry.record : nullptr;
}

const DeferredFlats::Record* DeferredFlats::Lookup::Find(pugi::xml_node element)
{
    if (m_exact) return m_deferred.Find(element);
    const std::vector<Entry>& entries = m_deferred.m_entries;
    while (m_next < entries.size() && !entries[m_next].live) ++m_next;
    if (m_next == entries.size() || entries[m_next].element != element.internal_object()) return nullptr;
    ++m_met;
    return &entries[m_next++].record;
}

// The nodes the cursor gives a flat fragment when it is appended whole
void DeferredFlats::Build(pugi::xml_node element, const Record& record) const
{
    RecordReader in{record.data};
    const std::string_view rootText = in.Text();
    if (!rootText.empty()) element.append_child(pugi::node_pcdata).set_value(rootText.data(), rootText.size());
    for (size_t i = 0; i < record.children; ++i) {
        pugi::xml_node child = element.append_child(ChildName(in.Number()).c_str());
        const std::string_view text = in.Text();
        if (!text.empty()) child.append_child(pugi::node_pcdata).set_value(text.data(), text.size());
    }
}

void DeferredFlats::Expand(pugi::xml_node element)
{
    if (!m_live || element.first_child()) return;
    const Record* record = Find(element);
    if (!record) return;
    m_entries[m_index.find(element.internal_object())->second].live = false;
    --m_live;
    Build(element, *record);
}

void DeferredFlats::ExpandAll()
{
    for (Entry& entry : m_entries)
        if (entry.live) Build(pugi::xml_node(static_cast<pugi::xml_node_struct*>(const_cast<void*>(entry.element))), entry.record);
    m_entries.clear();
    m_live = 0;
    m_index.clear();
    m_indexed = 0;
    m_blocks.clear();
    m_left = 0;
    m_next = nullptr;
}

// Printing -----------------------------------------------------------------------------------

namespace {

bool IsText(const pugi::xml_node& n) { return n.type() == pugi::node_pcdata; }

// What the printer's loops need to know of a byte of UTF-8: where a string ends or leaves ASCII,
// what it replaces in element text and in attribute values, and which bytes make a name of the
// flat form
enum : unsigned char { kStop = 1, kReplacedInText = 2, kReplacedInValue = 4, kNameByte = 8, kNameStart = 16 };
struct ByteTable {
    unsigned char kind[256] = {};
    constexpr ByteTable()
    {
        for (unsigned c = 0; c < 256; ++c) {
            unsigned char k = 0;
            if (c == 0 || c >= 0x80) k |= kStop;
            if (c != 0 && c < 0x80 && FlatXml::NeedsEscape(c, false)) k |= kReplacedInText;
            if (c != 0 && c < 0x80 && FlatXml::NeedsEscape(c, true)) k |= kReplacedInValue;
            if (FlatXml::IsNameCode(c)) k |= kNameByte;
            if (FlatXml::IsNameStartCode(c)) k |= kNameStart;
            kind[c] = k;
        }
    }
    unsigned char operator[](char c) const { return kind[static_cast<unsigned char>(c)]; }
};
constexpr ByteTable kBytes;

// Bytes of a string up to the first that is not plain ASCII; every piece the printer converts
// starts after, and ends before, an ASCII character it writes itself, so converting a run beyond
// ASCII on its own gives what converting the whole printed text would
size_t RunBeyondAscii(const char* s)
{
    size_t n = 0;
    while (static_cast<unsigned char>(s[n]) >= 0x80) ++n;
    return n;
}

// Exact length of the printed document, so that the text is allocated once
struct Measure {
    size_t total = 0;
    void Indent(unsigned depth) { total += 2 * depth; }
    void Ascii(const char* s) { total += std::strlen(s); }
    void Name(const char* name) { Count(name, 0); }
    void Text(const char* text, bool attribute) { Count(text, attribute ? kReplacedInValue : kReplacedInText); }
    void Record(const DeferredFlats::Record& record, const DeferredFlats&, const char* name, unsigned depth)
    {
        // Each child on a line of its own one level down, the closing tag at this level
        total += record.printed + 4;
        Name(name);
        if (record.children) total += record.children * 2 * (depth + 1) + 2 * depth;
    }

private:
    void Count(const char* s, unsigned char replaced)
    {
        char replacement[6];
        for (;;) {
            const unsigned char kind = kBytes[*s];
            if (!(kind & (kStop | replaced))) {
                ++total;
                ++s;
            } else if (kind & replaced) {
                total += FlatXml::Escape(static_cast<unsigned char>(*s++), replacement);
            } else if (!*s) {
                return;
            } else {
                // Decoded into one scratch text, so that a document of many non-Latin names
                // is not an allocation per name
                const size_t n = RunBeyondAscii(s);
                m_wide.clear();
                BSX::BsxUnicodeString::AppendUtf8(m_wide, s, n);
                total += m_wide.size();
                s += n;
            }
        }
    }
    std::wstring m_wide;
};

// Writes through a buffer into a text reserved to its final length
class Writer {
public:
    explicit Writer(std::wstring& out) : m_out(out) {}
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;
    ~Writer() { Flush(); }

    void Indent(unsigned depth)
    {
        for (size_t left = 2 * static_cast<size_t>(depth); left;) {
            const size_t n = std::min(left, Room(1));
            std::fill_n(m_buffer + m_used, n, L' ');
            m_used += n;
            left -= n;
        }
    }
    void Ascii(const char* s) { Plain(s, std::strlen(s)); }
    void Name(const char* name) { Convert(name, nullptr, 0); }
    void Text(const char* text, bool attribute) { Convert(text, nullptr, attribute ? kReplacedInValue : kReplacedInText); }
    // A name, answering whether it is one of the flat form: checked as it is copied, and beyond
    // ASCII (never such a name) converted as any other
    bool FlatName(const char* name)
    {
        const bool start = kBytes[*name] & kNameStart;
        unsigned char all = kNameByte;
        for (const char* s = name;;) {
            const size_t room = Room(1);
            wchar_t* const out = m_buffer + m_used;
            size_t k = 0;
            for (unsigned char kind; k < room && !((kind = kBytes[s[k]]) & kStop); ++k) {
                all &= kind;
                out[k] = static_cast<wchar_t>(s[k]);
            }
            m_used += k;
            s += k;
            if (k == room) continue;
            if (!*s) return start && (all & kNameByte);
            Convert(s, nullptr, 0);
            return false;
        }
    }
    // Characters written so far, and how many of them a replacement wrote
    size_t Written() const { return m_out.size() + m_used; }
    size_t Escaped() const { return m_escaped; }
    // Writes again what was written at span (a name, for its closing tag)
    void Repeat(FlatXml::Span span)
    {
        // Mostly still in the buffer, and copied whole from there
        if (span.length <= kSize && Room(span.length) >= span.length && span.start >= m_out.size()) {
            std::char_traits<wchar_t>::copy(m_buffer + m_used, m_buffer + (span.start - m_out.size()), span.length);
            m_used += span.length;
            return;
        }
        for (size_t left = span.length; left;) {
            const size_t n = std::min(left, Room(1));
            // Where the span's next characters are now: flushed already, or still in the buffer
            for (size_t i = 0; i < n; ++i) {
                const size_t at = span.start + (span.length - left) + i;
                m_buffer[m_used + i] = at < m_out.size() ? m_out[at] : m_buffer[at - m_out.size()];
            }
            m_used += n;
            left -= n;
        }
    }

    // A deferred fragment's content, as the nodes it stands for print
    void Record(const DeferredFlats::Record& record, const DeferredFlats& flats, const char* name, unsigned depth)
    {
        RecordReader in{record.data};
        const std::string_view rootText = in.Text();
        if (!record.children) {
            Plain(">", 1);
            Convert(rootText.data(), rootText.data() + rootText.size(), kReplacedInText);
        } else {
            Plain(">\n", 2);
            for (size_t i = 0; i < record.children; ++i) {
                const std::string& child = flats.ChildName(in.Number());
                const std::string_view text = in.Text();
                Indent(depth + 1);
                Plain("<", 1);
                Plain(child.data(), child.size());
                if (text.empty()) {
                    Plain(" />\n", 4);
                    continue;
                }
                Plain(">", 1);
                Convert(text.data(), text.data() + text.size(), kReplacedInText);
                Plain("</", 2);
                Plain(child.data(), child.size());
                Plain(">\n", 2);
            }
            Indent(depth);
        }
        Plain("</", 2);
        Name(name);
        Plain(">\n", 2);
    }

private:
    static constexpr size_t kSize = 8192;

    // Room in the buffer for at least wanted characters; how much
    size_t Room(size_t wanted)
    {
        if (kSize - m_used < wanted) Flush();
        return kSize - m_used;
    }
    void Flush()
    {
        m_out.append(m_buffer, m_used);
        m_used = 0;
    }
    // ASCII written as it is, in blocks of sixteen first, which the compiler turns into vector
    // instructions
    void Plain(const char* s, size_t n)
    {
        while (n) {
            const size_t k = std::min(n, Room(1));
            wchar_t* out = m_buffer + m_used;
            size_t i = 0;
            for (; k - i >= 16; i += 16)
                for (size_t b = 0; b < 16; ++b) out[i + b] = static_cast<wchar_t>(static_cast<unsigned char>(s[i + b]));
            for (; i < k; ++i) out[i] = static_cast<wchar_t>(static_cast<unsigned char>(s[i]));
            m_used += k;
            s += k;
            n -= k;
        }
    }
    void Replace(char c)
    {
        char replacement[6];
        const size_t length = FlatXml::Escape(static_cast<unsigned char>(c), replacement);
        Plain(replacement, length);
        m_escaped += length;
    }
    // UTF-8 up to end, or up to its NUL when end is null, converted as the toolkit converts it,
    // the characters of class replaced written as the XML printer writes them
    void Convert(const char* s, const char* end, unsigned char replaced)
    {
        const unsigned char stop = kStop | replaced;
        for (;;) {
            if (s == end) return;
            size_t room = Room(1);
            if (end) room = std::min(room, static_cast<size_t>(end - s));
            wchar_t* const out = m_buffer + m_used;
            size_t k = 0;
            while (k < room && !(kBytes[s[k]] & stop)) {
                out[k] = static_cast<wchar_t>(s[k]);
                ++k;
            }
            m_used += k;
            s += k;
            if (k == room) continue;
            if (kBytes[*s] & replaced) {
                Replace(*s++);
            } else if (!*s) {
                // The end of a NUL-terminated text: a counted one holds no NUL, as the records'
                // texts come from text up to its first
                return;
            } else {
                size_t run = 0;
                while (s + run != end && static_cast<unsigned char>(s[run]) >= 0x80) ++run;
                Flush();
                BSX::BsxUnicodeString::AppendUtf8(m_out, s, run);
                s += run;
            }
        }
    }

    std::wstring& m_out;
    wchar_t m_buffer[kSize];
    size_t m_used = 0;
    size_t m_escaped = 0;
};

// Walks in document order from first, through its siblings too unless single, writing through
// out (Measure or Writer). False, part-way, at anything it does not write as the parser's printer
// would: it writes elements with attributes, each holding nothing, one text, or elements only.
template <class Out>
bool Walk(pugi::xml_node first, bool single, DeferredFlats::Lookup& deferred, Out& out)
{
    pugi::xml_node node = first;
    unsigned depth = 0;
    while (node) {
        const char* const name = node.name();
        if (node.type() != pugi::node_element || !name[0]) return false;
        out.Indent(depth);
        out.Ascii("<");
        out.Name(name);
        for (pugi::xml_attribute a = node.first_attribute(); a; a = a.next_attribute()) {
            out.Ascii(" ");
            out.Name(a.name());
            out.Ascii("=\"");
            out.Text(a.value(), true);
            out.Ascii("\"");
        }
        const pugi::xml_node child = node.first_child();
        if (child && !IsText(child)) {
            out.Ascii(">\n");
            node = child;
            ++depth;
            continue;
        }
        if (child) {
            if (child.next_sibling()) return false;
            out.Ascii(">");
            out.Text(child.value(), false);
            out.Ascii("</");
            out.Name(name);
            out.Ascii(">\n");
        } else if (const DeferredFlats::Record* record = deferred.Find(node)) {
            out.Record(*record, deferred.Flats(), name, depth);
        } else {
            out.Ascii(" />\n");
        }
        // On to the next element, closing those that end here
        for (;;) {
            if (depth == 0) {
                node = single ? pugi::xml_node() : node.next_sibling();
                break;
            }
            if (pugi::xml_node next = node.next_sibling()) {
                node = next;
                break;
            }
            node = node.parent();
            --depth;
            out.Indent(depth);
            out.Ascii("</");
            out.Name(node.name());
            out.Ascii(">\n");
        }
    }
    return true;
}

// A large text is written through from start to end: its pages are made present in one call
// rather than one fault each (a 100,000-entry theme prints to half a gigabyte, 120,000 pages).
// Only a hint: a system without it faults the pages in as the text is written.
void Prefault(const void* data, size_t bytes)
{
#ifdef MADV_POPULATE_WRITE
    constexpr size_t kWorthIt = size_t(1) << 20;
    if (bytes < kWorthIt) return;
    const auto page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto begin = (reinterpret_cast<uintptr_t>(data) + page - 1) & ~(page - 1);
    const auto end = (reinterpret_cast<uintptr_t>(data) + bytes) & ~(page - 1);
    if (end > begin) madvise(reinterpret_cast<void*>(begin), end - begin, MADV_POPULATE_WRITE);
#else
    (void)data;
    (void)bytes;
#endif
}

bool PrintFrom(pugi::xml_node first, bool single, const DeferredFlats& deferred, std::wstring& out)
{
    // Measured first, so that the text is allocated once; the records are taken in the order
    // they were kept, unless that misses one
    Measure measure;
    bool exact = false;
    {
        DeferredFlats::Lookup lookup(deferred, false);
        if (!Walk(first, single, lookup, measure)) return false;
        if (!lookup.Complete()) {
            exact = true;
            measure.total = 0;
            DeferredFlats::Lookup again(deferred, true);
            Walk(first, single, again, measure);
        }
    }
    std::wstring text;
    text.reserve(measure.total);
    Prefault(text.data(), measure.total * sizeof(wchar_t));
    {
        Writer writer(text);
        DeferredFlats::Lookup lookup(deferred, exact);
        Walk(first, single, lookup, writer);
    }
    assert(text.size() == measure.total);
    out = std::move(text);
    return true;
}

// An element whose children are simple elements, none with attributes (a style, say), as
// PrintElement prints it, in one pass; false for any other. A style reads such a text next, so
// the text is kept with its parts when it is one Split reads into them (see FlatXml::Remember).
bool PrintFlat(const pugi::xml_node& element, const DeferredFlats& deferred, std::wstring& out)
{
    if (element.first_attribute()) return false;
    // A fragment kept compact is not empty
    if (!element.first_child() && !deferred.Empty() && deferred.Find(element)) return false;
    std::wstring text;
    FlatXml::Span root;
    thread_local std::vector<FlatXml::SpannedElement> parts;
    parts.clear();
    bool plain = true;
    {
        Writer writer(text);
        const char* const name = element.name();
        writer.Ascii("<");
        root.start = writer.Written();
        plain = writer.FlatName(name);
        root.length = writer.Written() - root.start;
        pugi::xml_node child = element.first_child();
        if (!child) {
            writer.Ascii(" />");
        } else {
            writer.Ascii(">\n");
            for (; child; child = child.next_sibling()) {
                if (child.type() != pugi::node_element || child.first_attribute()) return false;
                const char* const childName = child.name();
                if (!childName[0]) return false;
                FlatXml::SpannedElement part;
                writer.Indent(1);
                writer.Ascii("<");
                part.name.start = writer.Written();
                plain = writer.FlatName(childName) && plain;
                part.name.length = writer.Written() - part.name.start;
                const pugi::xml_node value = child.first_child();
                if (!value) {
                    // A fragment kept compact is not empty
                    if (!deferred.Empty() && deferred.Find(child)) return false;
                    part.text.start = writer.Written();
                    writer.Ascii(" />\n");
                    parts.push_back(part);
                    continue;
                }
                if (!IsText(value) || value.next_sibling()) return false;
                writer.Ascii(">");
                part.text.start = writer.Written();
                writer.Text(value.value(), false);
                part.text.length = writer.Written() - part.text.start;
                writer.Ascii("</");
                writer.Repeat(part.name);
                writer.Ascii(">\n");
                parts.push_back(part);
            }
            writer.Ascii("</");
            writer.Repeat(root);
            writer.Ascii(">");
        }
        plain = plain && writer.Escaped() == 0;
    }
    if (plain) FlatXml::Remember(text, root, parts);
    out = std::move(text);
    return true;
}

} // namespace

bool Print(const pugi::xml_document& doc, const DeferredFlats& deferred, std::wstring& out)
{
    return PrintFrom(doc.first_child(), false, deferred, out);
}

bool PrintElement(const pugi::xml_node& element, const DeferredFlats& deferred, std::wstring& out)
{
    if (!element.name()[0]) return false;
    if (PrintFlat(element, deferred, out)) return true;
    if (!PrintFrom(element, true, deferred, out)) return false;
    out.pop_back();
    return true;
}

} // namespace MarkupTree
} // namespace KRN
