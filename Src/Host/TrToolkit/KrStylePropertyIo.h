#pragma once
// Writer and reader visitors for the property lists of KrStyle and KrTextStyle.
#include <climits>
#include <string>
#include <limits>
#include <type_traits>

#include "KrMarkup.h"
#include "KrStyleXml.h"

namespace KRN {
namespace StyleXml {

struct PropertyWriter {
    KrMarkup& markup;
    void Add(const wchar_t* name, const BSX::BsxUnicodeString& text) { markup.AddElem(name, text.Cstr(), false, true); }
    void operator()(const wchar_t* n, const bool& v) { Add(n, Bool(v)); }
    void operator()(const wchar_t* n, const float& v) { Add(n, Real(static_cast<double>(v))); }
    void operator()(const wchar_t* n, const double& v) { Add(n, Real(v)); }
    void operator()(const wchar_t* n, const BSX::BsxUnicodeString& v) { Add(n, v); }
    void operator()(const wchar_t* n, const KrColorValue3D& v) { Add(n, Color(v)); }
    template <class T, class = std::enable_if_t<std::is_integral<T>::value || std::is_enum<T>::value>>
    void operator()(const wchar_t* n, const T& v)
    {
        Add(n, BSX::BsxUnicodeString(std::to_wstring(static_cast<long long>(v))));
    }
};

// Reads each property from the first child of its name below the current element
struct PropertyReader {
    KrMarkup& markup;
    // Properties come in document order, so the search goes on from the last one found and
    // starts over only when a document has them in another order
    bool Find(const wchar_t* name, BSX::BsxUnicodeString& text)
    {
        if (!markup.FindChildElem(name)) {
            markup.ResetChildPos();
            if (!markup.FindChildElem(name)) return false;
        }
        text = markup.GetChildData();
        return true;
    }
    void operator()(const wchar_t* n, bool& v) { BSX::BsxUnicodeString t; if (Find(n, t)) v = ParseBool(t); }
    void operator()(const wchar_t* n, float& v)
    {
        BSX::BsxUnicodeString t;
        double d;
        if (Find(n, t) && ParseReal(t, d)) v = static_cast<float>(d);
    }
    void operator()(const wchar_t* n, double& v) { BSX::BsxUnicodeString t; if (Find(n, t)) ParseReal(t, v); }
    void operator()(const wchar_t* n, BSX::BsxUnicodeString& v) { Find(n, v); }
    void operator()(const wchar_t* n, KrColorValue3D& v) { BSX::BsxUnicodeString t; if (Find(n, t)) ParseColor(t, v); }
    template <class T, class = std::enable_if_t<std::is_integral<T>::value || std::is_enum<T>::value>>
    void operator()(const wchar_t* n, T& v)
    {
        using U = std::conditional_t<std::is_enum<T>::value, std::underlying_type<T>, std::common_type<T>>;
        using Int = typename U::type;
        BSX::BsxUnicodeString t;
        long long x;
        if (Find(n, t) && ParseInt(t, x) && x >= static_cast<long long>(std::numeric_limits<Int>::min()) &&
            x <= static_cast<long long>(std::numeric_limits<Int>::max()))
            v = static_cast<T>(x);
    }
};

} // namespace StyleXml
} // namespace KRN
