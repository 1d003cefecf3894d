#include "KrByteCodec.h"

#include <cstring>

namespace KRN {

void KrByteCodec::PutU64(std::uint64_t value)
{
    for (int i = 0; i < 8; ++i) m_out.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
}

void KrByteCodec::PutDouble(double value)
{
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    PutU64(bits);
}

std::uint64_t KrByteCodec::GetU64()
{
    if (!m_ok || Left() < 8) {
        m_ok = false;
        return 0;
    }
    std::uint64_t value = 0;
    for (int i = 0; i < 8; ++i) value |= std::uint64_t(static_cast<unsigned char>((*m_in)[m_pos + i])) << (8 * i);
    m_pos += 8;
    return value;
}

double KrByteCodec::GetDouble()
{
    const std::uint64_t bits = GetU64();
    double value = 0.0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

} // namespace KRN
