#pragma once
// XML cursor of the host toolkit. A current element and, below it, a current child; both start
// before the first element. A failed search leaves the cursor where it was; nothing throws.
// Text that is not well-formed XML behaves as an empty document.
#include <memory>

#include "BsxUnicodeString.h"

namespace KRN {

/// XML cursor: a current element and a current child below it; failed searches leave it in place
class KrMarkup {
public:
    /// Where SetAttrib writes
    enum Position { MNT_ELEMENT = 0, MNT_CHILD = 1 };

    /// An empty document, or the document text parsed (see SetDoc)
    ///@{
    KrMarkup();
    explicit KrMarkup(const wchar_t* text);
    ///@}
    /// Releases the document
    ~KrMarkup();
    /// A cursor is not copied
    ///@{
    KrMarkup(const KrMarkup&) = delete;
    KrMarkup& operator=(const KrMarkup&) = delete;
    ///@}

    /// Replaces the document; false (and an empty document) when the text is not well-formed
    bool SetDoc(const wchar_t* text);
    /// Whether the last SetDoc parsed
    bool IsWellFormed() const;
    /// The whole document
    BSX::BsxUnicodeString GetDoc() const;

    /// Next element of that name at the current level (null or empty name: any element)
    bool FindElem(const wchar_t* name = nullptr);
    /// Next child of that name below the current element; forward only, never wraps
    bool FindChildElem(const wchar_t* name = nullptr);
    /// Current child back before the first child
    void ResetChildPos();
    /// The current child becomes the current element
    bool IntoElem();
    /// Back to the parent; the element left becomes the current child
    bool OutOfElem();

    /// Name and text content of the current element
    ///@{
    BSX::BsxUnicodeString GetTagName() const;
    BSX::BsxUnicodeString GetData() const;
    ///@}
    /// Name, text content, markup and an attribute of the current child
    ///@{
    BSX::BsxUnicodeString GetChildTagName() const;
    BSX::BsxUnicodeString GetChildData() const;
    BSX::BsxUnicodeString GetChildSubDoc() const;
    BSX::BsxUnicodeString GetChildAttrib(const wchar_t* name) const;
    ///@}
    /// An attribute of the current element; empty when it has none of that name
    BSX::BsxUnicodeString GetAttrib(const wchar_t* name) const;

    /// Appends an element after the last child of the current element (asChild) or after the
    /// current element at its level (!asChild); insertBefore puts it first instead
    bool AddElem(const wchar_t* name, const wchar_t* text = nullptr, bool insertBefore = false, bool asChild = false);
    /// Appends a parsed XML fragment the same way; false when the fragment is not well-formed
    bool AddSubDoc(const wchar_t* xml, bool insertBefore = false, bool asChild = false);
    /// Sets an attribute on the current element or the current child
    bool SetAttrib(int position, const wchar_t* name, const wchar_t* value);

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace KRN
