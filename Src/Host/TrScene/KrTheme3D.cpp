#include "KrTheme3D.h"

#include <cwchar>
#include <cwctype>

#include "KrConvert.h"
#include "KrMarkup.h"

namespace KRN {

using BSX::BsxUnicodeString;
using BSX::BsxVariant;

KrTheme3D::~KrTheme3D() = default;

bool KrTheme3D::FindStyle(KrFeature*, KrStyle&) const { return false; }
KrStyle* KrTheme3D::FindStyle(const BsxVariant&) const { return nullptr; }
bool KrTheme3D::IsModellingStyleEnabled(const BsxVariant&) const { return false; }
BsxUnicodeString KrTheme3D::GetFieldName(bool) const { return BsxUnicodeString(); }
BsxUnicodeString KrTheme3D::GetExpression() const { return BsxUnicodeString(); }
bool KrTheme3D::CheckFieldType(int) { return false; }
KrTextStyle* KrTheme3D::GetTextStyle() { return nullptr; }
BsxUnicodeString KrTheme3D::GetStringFromVariant(const BsxVariant& value) { return Variant2String(value); }
void KrTheme3D::SetAlonglineText(bool along) { m_alongline = along; }
bool KrTheme3D::IsAlonglineText() { return m_alongline; }
void KrTheme3D::SetOffset(int x, int y) { m_offsetX = x; m_offsetY = y; }
void KrTheme3D::GetOffset(int& x, int& y) { x = m_offsetX; y = m_offsetY; }
bool KrTheme3D::GetThemeQueryDef(int, BSX::BsxArray<BsxUnicodeString>&) { return false; }
bool KrTheme3D::GetThemeQueryDef(BSX::BsxArray<BsxUnicodeString>&, bool) { return false; }
int KrTheme3D::GetThemeGraphItemType(int) const { return 0; }
void KrTheme3D::GetThemeGraphValues(double&, int, int) {}
void KrTheme3D::CalculateGraphProperty(double) {}
KrGeometry* KrTheme3D::ConvertToGeometry(double*, unsigned int, const BSX::BsxPoint3D&) { return nullptr; }
void KrTheme3D::Attach(double*, int) {}
void KrTheme3D::PrepareTheme() { SetNeedUpdate(true); }
void KrTheme3D::UpdateTheme() { SetNeedUpdate(false); }

bool KrTheme3D::GetExternalValue(const BsxUnicodeString& key, BsxUnicodeString& value) const
{
    const BsxUnicodeString* found = m_externalValues.Find(key);
    if (!found) return false;
    value = *found;
    return true;
}

BsxUnicodeString KrTheme3D::Variant2String(const BsxVariant& value) { return value.ToString(); }

bool KrTheme3D::Variant2Double(const BsxVariant& value, double& number)
{
    switch (value.GetType()) {
    case BsxVariant::VT_UINT8: number = value.GetUInt8(); return true;
    case BsxVariant::VT_INT16: number = value.GetInt16(); return true;
    case BsxVariant::VT_INT32: number = value.GetInt32(); return true;
    case BsxVariant::VT_INT64: number = static_cast<double>(value.GetInt64()); return true;
    case BsxVariant::VT_FLOAT: number = value.GetFloat(); return true;
    case BsxVariant::VT_DOUBLE: number = value.GetDouble(); return true;
    case BsxVariant::VT_DATE:
    case BsxVariant::VT_TIME:
    case BsxVariant::VT_DATETIME: number = value.GetDateValue(); return true;
    case BsxVariant::VT_STRING: {
        BsxUnicodeString text(*value.GetString());
        text.TrimLeft();
        text.TrimRight();
        const wchar_t* p = text.Cstr();
        // Decimal notation only: no "nan", "inf" or hexadecimal
        const wchar_t* q = (*p == L'+' || *p == L'-') ? p + 1 : p;
        if (!(std::iswdigit(static_cast<wint_t>(*q)) || (*q == L'.' && std::iswdigit(static_cast<wint_t>(q[1])))))
            return false;
        if (*q == L'0' && (q[1] == L'x' || q[1] == L'X')) return false;
        wchar_t* end = nullptr;
        double v = std::wcstod(p, &end);
        if (end == p || *end) return false;
        number = v;
        return true;
    }
    default: return false;
    }
}

namespace {
const wchar_t kRoot[] = L"tdx:Theme3D";

BsxUnicodeString Int(int v)
{
    BsxUnicodeString s;
    NumberToString(v, s);
    return s;
}

bool FindChildText(KrMarkup& m, const wchar_t* name, BsxUnicodeString& text)
{
    m.ResetChildPos();
    if (!m.FindChildElem(name)) return false;
    text = m.GetChildData();
    return true;
}
} // namespace

BsxUnicodeString KrTheme3D::ToXML(int, BsxUnicodeString) const
{
    KrMarkup m;
    m.AddElem(kRoot);
    m.AddElem(L"tdx:Type", Int(m_type).Cstr(), false, true);
    m.AddElem(L"tdx:ExternalValueMode", Int(m_externalValueMode).Cstr(), false, true);
    m.AddElem(L"tdx:AliasSuffix", m_aliasSuffix.Cstr(), false, true);
    m.AddElem(L"tdx:OffsetX", Int(m_offsetX).Cstr(), false, true);
    m.AddElem(L"tdx:OffsetY", Int(m_offsetY).Cstr(), false, true);
    m.AddElem(L"tdx:AlonglineText", m_alongline ? L"TRUE" : L"FALSE", false, true);
    m.AddElem(L"tdx:ExternalValues", nullptr, false, true);
    m.IntoElem();
    for (const auto& entry : m_externalValues) {
        m.AddElem(L"tdx:ExternalValue", entry.second.Cstr(), false, true);
        m.SetAttrib(KrMarkup::MNT_CHILD, L"key", entry.first.Cstr());
    }
    m.OutOfElem();
    return m.GetDoc();
}

bool KrTheme3D::FromXML(const BsxUnicodeString& xml, int, BsxUnicodeString)
{
    KrMarkup m(xml.Cstr());
    if (!m.FindElem(kRoot)) return false;
    // Read into a copy so that a failure part-way changes nothing
    KrTheme3D read(*this);
    BsxUnicodeString text;
    if (FindChildText(m, L"tdx:Type", text)) read.m_type = static_cast<KrTheme3DType>(kratoi(text));
    if (FindChildText(m, L"tdx:ExternalValueMode", text)) read.m_externalValueMode = kratoi(text);
    if (FindChildText(m, L"tdx:AliasSuffix", text)) read.m_aliasSuffix = text;
    if (FindChildText(m, L"tdx:OffsetX", text)) read.m_offsetX = kratoi(text);
    if (FindChildText(m, L"tdx:OffsetY", text)) read.m_offsetY = kratoi(text);
    if (FindChildText(m, L"tdx:AlonglineText", text)) read.m_alongline = text.CompareNoCase(L"TRUE") == 0;
    m.ResetChildPos();
    if (m.FindChildElem(L"tdx:ExternalValues")) {
        read.m_externalValues.RemoveAll();
        m.IntoElem();
        while (m.FindChildElem(L"tdx:ExternalValue"))
            read.m_externalValues.SetAt(m.GetChildAttrib(L"key"), m.GetChildData());
        m.OutOfElem();
    }
    *this = read;
    return true;
}

} // namespace KRN
