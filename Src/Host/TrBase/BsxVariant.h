#pragma once
// Tagged value as read from a feature field.
#include <cstdint>

#include "BsxTime.h"
#include "BsxUnicodeString.h"

namespace BSX {

/// Tagged value as read from a feature field
class BsxVariant {
public:
    /// Type tags
    enum Type : std::int32_t {
        VT_NULL = 0, ///< no value
        VT_UINT8 = 1,
        VT_INT16 = 2,
        VT_INT32 = 3,
        VT_INT64 = 4,
        VT_FLOAT = 5,
        VT_DOUBLE = 6,
        VT_DATE = 7,
        VT_BLOB = 8, // never formatted by the themes
        VT_STRING = 9,
        VT_TIME = 10,
        VT_DATETIME = 11,
    };

    /// A null value, or a value tagged by its C++ type
    ///@{
    BsxVariant() = default;
    BsxVariant(unsigned char v) : m_type(VT_UINT8) { m_value.u8 = v; }
    BsxVariant(short v) : m_type(VT_INT16) { m_value.i16 = v; }
    BsxVariant(int v) : m_type(VT_INT32) { m_value.i32 = v; }
    BsxVariant(long long v) : m_type(VT_INT64) { m_value.i64 = v; }
    BsxVariant(float v) : m_type(VT_FLOAT) { m_value.f = v; }
    BsxVariant(double v) : m_type(VT_DOUBLE) { m_value.d = v; }
    BsxVariant(const BsxUnicodeString& v) : m_type(VT_STRING), m_string(new BsxUnicodeString(v)) {}
    BsxVariant(const wchar_t* v) : m_type(VT_STRING), m_string(new BsxUnicodeString(v)) {}
    ///@}
    /// A date-time with its tag: 7, 10 or 11 (any other tag is taken as 7)
    BsxVariant(const BsxTime& v, Type tag);
    /// Copies own their text; moves take it
    ///@{
    BsxVariant(const BsxVariant& other);
    BsxVariant(BsxVariant&& other) noexcept;
    BsxVariant& operator=(const BsxVariant& other);
    BsxVariant& operator=(BsxVariant&& other) noexcept;
    ~BsxVariant();
    ///@}

    /// The tag, and whether it is null
    ///@{
    Type GetType() const { return m_type; }
    bool IsNull() const { return m_type == VT_NULL; }
    ///@}

    /// The value read as the type of the named tag, whatever the tag is
    ///@{
    unsigned char GetUInt8() const { return m_value.u8; }
    short GetInt16() const { return m_value.i16; }
    int GetInt32() const { return m_value.i32; }
    long long GetInt64() const { return m_value.i64; }
    float GetFloat() const { return m_value.f; }
    double GetDouble() const { return m_value.d; }
    ///@}
    /// The date-time value of tags 7, 10, 11
    double GetDateValue() const { return m_value.d; }
    /// The text of tag 9; null for other tags
    const BsxUnicodeString* GetString() const { return m_type == VT_STRING ? m_string : nullptr; }

    /// Text form: decimal integers, reals with up to 15 (double) or 7 (float) significant digits,
    /// dates as "%Y-%m-%d %H:%M:%S", the text itself, and empty for null and blobs.
    BsxUnicodeString ToString() const;

private:
    void Clear();
    Type m_type = VT_NULL;
    union {
        unsigned char u8;
        short i16;
        int i32;
        long long i64;
        float f;
        double d;
    } m_value{};
    BsxUnicodeString* m_string = nullptr;
};

} // namespace BSX
