#include "KrFeature.h"

#include <cwchar>

namespace KRN {

void KrFeature::SetField(const BSX::BsxUnicodeString& name, const BSX::BsxVariant& value)
{
    for (auto& field : m_fields) {
        if (field.first == name) {
            field.second = value;
            return;
        }
    }
    m_fields.emplace_back(name, value);
}

bool KrFeature::GetValue(const BSX::BsxUnicodeString& expression, BSX::BsxVariant& value) const
{
    for (const auto& field : m_fields) {
        if (field.first == expression) {
            value = field.second;
            return true;
        }
    }
    BSX::BsxUnicodeString name(expression);
    name.TrimLeft();
    name.TrimRight();
    if (name.IsEmpty()) return false;
    for (const auto& field : m_fields) {
        if (field.first.CompareNoCase(name) == 0) {
            value = field.second;
            return true;
        }
    }
    // A number literal evaluates to itself
    wchar_t* end = nullptr;
    double number = std::wcstod(name.Cstr(), &end);
    if (end != name.Cstr() && *end == 0) {
        value = BSX::BsxVariant(number);
        return true;
    }
    return false;
}

} // namespace KRN
