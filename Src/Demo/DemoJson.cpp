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

DemoJson& DemoJson::Key(std::string_view key)
{
    Separate();
    Quote(key);
    m_text += ':';
    m_afterKey = true;
    return *this;
}

DemoJson& DemoJson::String(std::string_view value)
{
    Separate();
    Quote(value);
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
    char buf[24];
    const auto end = std::to_chars(buf, buf + sizeof buf, value).ptr;
    m_text.append(buf, end);
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

void DemoJson::Quote(std::string_view text)
{
    // Written straight into the document, plain runs at once: a tile's feature records quote
    // millions of keys and values
    m_text += '"';
    size_t plain = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c >= 0x20 && c != '"' && c != '\\') continue;
        m_text.append(text.data() + plain, i - plain);
        plain = i + 1;
        switch (c) {
        case '"': m_text += "\\\""; break;
        case '\\': m_text += "\\\\"; break;
        case '\n': m_text += "\\n"; break;
        case '\r': m_text += "\\r"; break;
        case '\t': m_text += "\\t"; break;
        default: {
            char buf[8];
            std::snprintf(buf, sizeof buf, "\\u%04x", c);
            m_text += buf;
        }
        }
    }
    m_text.append(text.data() + plain, text.size() - plain);
    m_text += '"';
}

} // namespace KRN
