#include "DemoJson.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace KRN {

void DemoJson::Separate()
{
    if (m_afterKey) {
        m_afterKey = false;
        return;
    }
    if (!m_hasValue.empty()) {
        if (m_hasValue.back()) m_text += ',';
        m_hasValue.back() = true;
    }
}

DemoJson& DemoJson::BeginObject()
{
    Separate();
    m_text += '{';
    m_hasValue.push_back(false);
    return *this;
}

DemoJson& DemoJson::EndObject()
{
    m_text += '}';
    if (!m_hasValue.empty()) m_hasValue.pop_back();
    return *this;
}

DemoJson& DemoJson::BeginArray()
{
    Separate();
    m_text += '[';
    m_hasValue.push_back(false);
    return *this;
}

DemoJson& DemoJson::EndArray()
{
    m_text += ']';
    if (!m_hasValue.empty()) m_hasValue.pop_back();
    return *this;
}

DemoJson& DemoJson::Key(const std::string& key)
{
    Separate();
    m_text += Quote(key);
    m_text += ':';
    m_afterKey = true;
    return *this;
}

DemoJson& DemoJson::String(const std::string& value)
{
    Separate();
    m_text += Quote(value);
    return *this;
}

DemoJson& DemoJson::Number(double value)
{
    if (!std::isfinite(value)) return Null();
    Separate();
    // The shortest text that reads back as the same double; a tile's feature records hold
    // millions of numbers, and printf's trial precisions cost a tenth of a tiled run
    char buf[32];
    const auto end = std::to_chars(buf, buf + sizeof buf, value).ptr;
    m_text.append(buf, end);
    return *this;
}

DemoJson& DemoJson::Integer(long long value)
{
    Separate();
    m_text += std::to_string(value);
    return *this;
}

DemoJson& DemoJson::Bool(bool value)
{
    Separate();
    m_text += value ? "true" : "false";
    return *this;
}

DemoJson& DemoJson::Null()
{
    Separate();
    m_text += "null";
    return *this;
}

std::string DemoJson::Quote(const std::string& text)
{
    std::string out = "\"";
    for (unsigned char c : text) {
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default:
            if (c < 0x20) {
                char buf[8];
                std::snprintf(buf, sizeof buf, "\\u%04x", c);
                out += buf;
            } else {
                out += static_cast<char>(c);
            }
        }
    }
    out += '"';
    return out;
}

} // namespace KRN
