#pragma once
// A small JSON text writer: objects, arrays, strings, numbers (non-finite numbers become null).
#include <string>
#include <string_view>
#include <vector>

namespace KRN {

class DemoJson {
public:
    DemoJson& BeginObject();
    DemoJson& EndObject();
    DemoJson& BeginArray();
    DemoJson& EndArray();
    // The key of the next value inside an object
    DemoJson& Key(std::string_view key);
    DemoJson& String(std::string_view value);
    DemoJson& Number(double value);
    DemoJson& Integer(long long value);
    DemoJson& Bool(bool value);
    DemoJson& Null();

    const std::string& Text() const { return m_text; }
private:
    void Separate();
    // Appends a text as a JSON string literal, quotes included (UTF-8 passes through)
    void Quote(std::string_view text);
    std::string m_text;
    // Per open container: whether it holds a value yet
    std::vector<bool> m_hasValue;
    bool m_afterKey = false;
};

} // namespace KRN
