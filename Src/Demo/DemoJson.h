#pragma once
// A small JSON text writer: objects, arrays, strings, numbers (non-finite numbers become null).
#include <string>
#include <vector>

namespace KRN {

class DemoJson {
public:
    DemoJson& BeginObject();
    DemoJson& EndObject();
    DemoJson& BeginArray();
    DemoJson& EndArray();
    // The key of the next value inside an object
    DemoJson& Key(const std::string& key);
    DemoJson& String(const std::string& value);
    DemoJson& Number(double value);
    DemoJson& Integer(long long value);
    DemoJson& Bool(bool value);
    DemoJson& Null();

    const std::string& Text() const { return m_text; }
    // A text as a JSON string literal, quotes included (UTF-8 passes through)
    static std::string Quote(const std::string& text);

private:
    void Separate();
    std::string m_text;
    // Per open container: whether it holds a value yet
    std::vector<bool> m_hasValue;
    bool m_afterKey = false;
};

} // namespace KRN
