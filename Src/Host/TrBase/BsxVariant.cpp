#include "BsxVariant.h"

#include <utility>

namespace BSX {

BsxVariant::BsxVariant(const BsxTime& v, Type tag)
    : m_type(tag == VT_TIME || tag == VT_DATETIME ? tag : VT_DATE)
{
    m_value.d = v.GetValue();
}

BsxVariant::BsxVariant(const BsxVariant& other) : m_type(other.m_type), m_value(other.m_value)
{
    if (other.m_string) m_string = new BsxUnicodeString(*other.m_string);
}

BsxVariant::BsxVariant(BsxVariant&& other) noexcept
    : m_type(other.m_type), m_value(other.m_value), m_string(other.m_string)
{
    other.m_string = nullptr;
    other.m_type = VT_NULL;
}

BsxVariant& BsxVariant::operator=(const BsxVariant& other)
{
    if (this != &other) {
        BsxVariant copy(other);
        *this = std::move(copy);
    }
    return *this;
}

BsxVariant& BsxVariant::operator=(BsxVariant&& other) noexcept
{
    if (this != &other) {
        Clear();
        m_type = other.m_type;
        m_value = other.m_value;
        m_string = other.m_string;
        other.m_string = nullptr;
        other.m_type = VT_NULL;
    }
    return *this;
}

BsxVariant::~BsxVariant() { Clear(); }

void BsxVariant::Clear()
{
    delete m_string;
    m_string = nullptr;
    m_type = VT_NULL;
}

BsxUnicodeString BsxVariant::ToString() const
{
    BsxUnicodeString s;
    switch (m_type) {
    case VT_UINT8: s.Format(L"%u", static_cast<unsigned>(m_value.u8)); break;
    case VT_INT16: s.Format(L"%d", static_cast<int>(m_value.i16)); break;
    case VT_INT32: s.Format(L"%d", m_value.i32); break;
    case VT_INT64: s.Format(L"%lld", m_value.i64); break;
    case VT_FLOAT: s.Format(L"%.7g", static_cast<double>(m_value.f)); break;
    case VT_DOUBLE: s.Format(L"%.15g", m_value.d); break;
    case VT_DATE:
    case VT_TIME:
    case VT_DATETIME: s = BsxTime(m_value.d).Format(L"%Y-%m-%d %H:%M:%S"); break;
    case VT_STRING: if (m_string) s = *m_string; break;
    default: break;
    }
    return s;
}

} // namespace BSX
