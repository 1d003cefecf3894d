#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
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

void ExpectGolden(const std::string& name, const BSX::BsxUnicodeString& text)
{
    if (std::getenv("T3D_REFRESH_GOLDEN")) {
        std::ofstream(std::string(T3D_TEST_DATA_DIR) + "/" + name, std::ios::binary) << text.ToUtf8();
        return;
    }
    EXPECT_EQ(text, ReadData(name)) << name;
}

std::vector<std::string> LogIds()
{
    std::vector<std::string> ids;
    for (const auto& r : KRN::KrLogFile::GetInstance(false)->GetRecords()) ids.push_back(r.id.ToUtf8());
    return ids;
}

void ClearLog() { KRN::KrLogFile::GetInstance(false)->ClearRecords(); }

} // namespace T3DTest
