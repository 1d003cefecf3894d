#include "TestSupport.h"

#include <fstream>
#include <sstream>

namespace T3DTest {

BSX::BsxUnicodeString ReadData(const std::string& name)
{
    std::ifstream in(std::string(T3D_TEST_DATA_DIR) + "/" + name, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return BSX::BsxUnicodeString::FromUtf8(text.str());
}

void WriteData(const std::string& name, const BSX::BsxUnicodeString& text)
{
    std::ofstream out(std::string(T3D_TEST_DATA_DIR) + "/" + name, std::ios::binary);
    out << text.ToUtf8();
}

std::vector<std::string> LogIds()
{
    std::vector<std::string> ids;
    for (const auto& r : KRN::KrLogFile::GetInstance(false)->GetRecords()) ids.push_back(r.id.ToUtf8());
    return ids;
}

void ClearLog() { KRN::KrLogFile::GetInstance(false)->ClearRecords(); }

} // namespace T3DTest
