#pragma once
// Little-endian byte strings of the mergeable statistics: a writer appends fixed-width
// numbers, a reader takes them back in the same order and remembers the first shortfall.
#include <cstdint>
#include <string>

namespace KRN {

class KrByteCodec {
public:
    // Writer over an empty string
    KrByteCodec() = default;
    // Reader over bytes (kept by reference: they must outlive the reader)
    explicit KrByteCodec(const std::string& bytes) : m_in(&bytes) {}

    void PutU64(std::uint64_t value);
    void PutI64(std::int64_t value) { PutU64(static_cast<std::uint64_t>(value)); }
    void PutDouble(double value);
    const std::string& Bytes() const { return m_out; }

    // Reading; after a shortfall every read answers 0 and Ok() stays false
    std::uint64_t GetU64();
    std::int64_t GetI64() { return static_cast<std::int64_t>(GetU64()); }
    double GetDouble();
    bool Ok() const { return m_ok; }
    // Bytes not read yet
    std::size_t Left() const { return m_in ? m_in->size() - m_pos : 0; }

private:
    std::string m_out;
    const std::string* m_in = nullptr;
    std::size_t m_pos = 0;
    bool m_ok = true;
};

} // namespace KRN
