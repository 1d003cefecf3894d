#pragma once
// Internals of the XML cursor (not part of the toolkit's API): flat fragments kept compact until
// the cursor looks inside them, and the printer that writes a document straight to wide text.
#include <pugixml.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "KrFlatXml.h"

namespace KRN {
namespace MarkupTree {

// Flat fragments (styles, mostly) appended to a document. A theme appends one per entry and then
// only prints the document, so such a fragment is kept as its element alone, its text and children
// in a compact block of UTF-8 beside the tree, and it becomes nodes only when something looks
// inside it (Expand). A node made by expanding is the node the fragment would have been given
// when appended, so nothing but the cost tells the two apart.
class DeferredFlats {
public:
    bool Empty() const { return m_live == 0; }
    // Keeps the text and children of flat for element, an element without children; false (and
    // nothing kept) when the fragment has neither, as there is nothing to defer
    bool Defer(pugi::xml_node element, const FlatXml::Document& flat);
    // Builds the children of element when they were deferred
    void Expand(pugi::xml_node element);
    void ExpandAll();

    // What a deferred element holds: its text, then per child the number of its name in the
    // names kept (ChildName) and its text; numbers and lengths as variable-length numbers,
    // texts in UTF-8
    struct Record {
        const unsigned char* data;
        size_t children;
        // Wide characters the content prints as after the element's name and attributes, its
        // indentation and closing tag left out
        size_t printed;
    };
    // The record of element, null when it has none
    const Record* Find(pugi::xml_node element) const;
    // A child's name by its number in a record (plain ASCII, as the flat form has names)
    const std::string& ChildName(size_t number) const { return m_names[number]; }

    // Finds the records of the elements a printer meets in document order. Writers append their
    // fragments in document order, so it first takes the records in the order they were kept;
    // Complete tells whether that met every one, else the printer starts again with Exact.
    class Lookup {
    public:
        explicit Lookup(const DeferredFlats& deferred, bool exact) : m_deferred(deferred), m_exact(exact) {}
        const Record* Find(pugi::xml_node element);
        bool Complete() const { return m_exact || m_met == m_deferred.m_live; }
        const DeferredFlats& Flats() const { return m_deferred; }

    private:
        const DeferredFlats& m_deferred;
        bool m_exact;
        size_t m_next = 0;
        size_t m_met = 0;
    };

private:
    struct Entry {
        const void* element;
        Record record;
        bool live;
    };
    // The number of a child's name, kept on first sight: a theme's fragments name the same few
    // children in the same order, so a record holds a small number instead of the name
    size_t NameNumber(std::wstring_view name, size_t position);
    // The nodes a record stands for, below element
    void Build(pugi::xml_node element, const Record& record) const;
    unsigned char* Allocate(size_t size);
    // Hands back the last size bytes of the last allocation
    void Release(size_t size);

    std::vector<Entry> m_entries;
    size_t m_live = 0;
    // Entries by element, brought up to date when a search needs it
    mutable std::unordered_map<const void*, size_t> m_index;
    mutable size_t m_indexed = 0;
    std::vector<std::string> m_names;
    // The name numbers of the last record's children, the first guess for the next one's
    std::vector<size_t> m_lastNames;
    std::vector<std::unique_ptr<unsigned char[]>> m_blocks;
    size_t m_block = 0;
    size_t m_left = 0;
    unsigned char* m_next = nullptr;
};

// The document as the parser's printer writes it with two spaces of indentation and no
// declaration, converted to wide text, deferred fragments included. False, and out untouched,
// when the document holds anything but elements, attributes and texts that are an element's only
// content (mixed content, CDATA): the caller then expands every fragment and asks the parser.
bool Print(const pugi::xml_document& doc, const DeferredFlats& deferred, std::wstring& out);
// The same for one element and what it holds, as if it stood alone in a document, without the
// line end after it
bool PrintElement(const pugi::xml_node& element, const DeferredFlats& deferred, std::wstring& out);

} // namespace MarkupTree
} // namespace KRN
