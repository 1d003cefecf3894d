#pragma once
// Writer and reader visitors for the property lists of KrStyle and KrTextStyle.
#include <charconv>
#include <climits>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>

#include "KrFlatXml.h"
#include "KrMarkup.h"
#include "KrStyleXml.h"

namespace KRN {
namespace StyleXml {

// Writes each property as a child of the writer's root, numbers through a buffer of its own
struct PropertyWriter {
    FlatXml::Writer& writer;
    void operator()(const wchar_t* n, const bool& v) { writer.Add(n, Bool(v)); }
    void operator()(const wchar_t* n, const float& v) { (*this)(n, static_cast<double>(v)); }
    void operator()(const wchar_t* n, const double& v)
    {
        wchar_t text[kRealChars];
        writer.Add(n, std::wstring_view(text, WriteReal(v, text)));
    }
    // The text up to its first NUL, as a C string would be written
    void operator()(const wchar_t* n, const BSX::BsxUnicodeString& v) { writer.Add(n, v.Cstr()); }
    void operator()(const wchar_t* n, const KrColorValue3D& v)
    {
        wchar_t text[kColorChars];
        writer.Add(n, std::wstring_view(text, WriteColor(v, text)));
    }
    template <class T, class = std::enable_if_t<std::is_integral<T>::value || std::is_enum<T>::value>>
    void operator()(const wchar_t* n, const T& v)
    {
        char digits[24];
        const std::to_chars_result r = std::to_chars(digits, digits + sizeof digits, static_cast<long long>(v));
        wchar_t text[24];
        size_t length = 0;
        for (const char* p = digits; p != r.ptr; ++p) text[length++] = static_cast<wchar_t>(*p);
        writer.Add(n, std::wstring_view(text, length));
    }
};

// Finds properties among the children of a flat document the way MarkupFinder finds them
struct FlatFinder {
    const FlatXml::Document& document;
    size_t next = 0;
    bool Find(const wchar_t* name, std::wstring_view& text)
    {
        const std::wstring_view wanted(name);
        const size_t count = document.children.size();
        for (size_t pass = 0, i = next; pass < 2; ++pass, i = 0) {
            for (; i < count; ++i) {
                if (document.children[i].name != wanted) continue;
                next = i + 1;
                text = document.children[i].text;
                return true;
            }
        }
        return false;
    }
};

// Finds properties among the children of the cursor's current element
struct MarkupFinder {
    KrMarkup& markup;
    BSX::BsxUnicodeString found;
    // Properties come in document order, so the search goes on from the last one found and
    // starts over only when a document has them in another order
    bool Find(const wchar_t* name, std::wstring_view& text)
    {
        if (!markup.FindChildElem(name)) {
            markup.ResetChildPos();
            if (!markup.FindChildElem(name)) return false;
        }
        found = markup.GetChildData();
        text = found.Str();
        return true;
    }
};

// Reads each property from the child of its name that the finder picks
template <class Finder>
struct PropertyReader {
    Finder& finder;
    bool Find(const wchar_t* name, std::wstring_view& text) { return finder.Find(name, text); }
    void operator()(const wchar_t* n, bool& v) { std::wstring_view t; if (Find(n, t)) v = ParseBool(t); }
    void operator()(const wchar_t* n, float& v)
    {
        std::wstring_view t;
        double d;
        if (Find(n, t) && ParseReal(t, d)) v = static_cast<float>(d);
    }
    void operator()(const wchar_t* n, double& v) { std::wstring_view t; if (Find(n, t)) ParseReal(t, v); }
    void operator()(const wchar_t* n, BSX::BsxUnicodeString& v) { std::wstring_view t; if (Find(n, t)) v = std::wstring(t); }
    void operator()(const wchar_t* n, KrColorValue3D& v) { std::wstring_view t; if (Find(n, t)) ParseColor(t, v); }
    template <class T, class = std::enable_if_t<std::is_integral<T>::value || std::is_enum<T>::value>>
    void operator()(const wchar_t* n, T& v)
    {
        using U = std::conditional_t<std::is_enum<T>::value, std::underlying_type<T>, std::common_type<T>>;
        using Int = typename U::type;
        std::wstring_view t;
        long long x;
        if (Find(n, t) && ParseInt(t, x) && x >= static_cast<long long>(std::numeric_limits<Int>::min()) &&
            x <= static_cast<long long>(std::numeric_limits<Int>::max()))
            v = static_cast<T>(x);
    }
};

// Reads a style document into a default-made S: from its parts when it is flat, else through
// the cursor. False, and style unchanged, when the text holds no element.
template <class S>
bool ReadProperties(const BSX::BsxUnicodeString& xml, S& style)
{
    S read;
    // Kept from call to call, so that reading a style allocates no list of its parts
    thread_local FlatXml::Document scratch;
    if (const FlatXml::Document* flat = FlatXml::SplitRecent(xml.Cstr(), scratch)) {
        FlatFinder finder{*flat};
        PropertyReader<FlatFinder> reader{finder};
        S::VisitProperties(read, reader);
    } else {
        KrMarkup markup(xml.Cstr());
        if (!markup.FindElem()) return false;
        MarkupFinder finder{markup, {}};
        PropertyReader<MarkupFinder> reader{finder};
        S::VisitProperties(read, reader);
    }
    style = read;
    return true;
}

// A style document of every property under root
template <class S>
BSX::BsxUnicodeString WriteProperties(const S& style, const wchar_t* root)
{
    FlatXml::Writer out(root);
    PropertyWriter writer{out};
    S::VisitProperties(style, writer);
    return BSX::BsxUnicodeString(out.Finish());
}

} // namespace StyleXml
} // namespace KRN
