#pragma once
// Helpers shared by the test programs.
#include <initializer_list>
#include <ostream>
#include <string>
#include <vector>

#include "BsxArray.h"
#include "BsxUnicodeString.h"
#include "KrLogFile.h"

namespace BSX {
// Readable failure messages for host strings
inline void PrintTo(const BsxUnicodeString& s, std::ostream* os) { *os << '"' << s.ToUtf8() << '"'; }
} // namespace BSX

namespace T3DTest {

inline std::string U8(const BSX::BsxUnicodeString& s) { return s.ToUtf8(); }
// A host array of the given reals
inline BSX::BsxArray<double> Array(std::initializer_list<double> values)
{
    BSX::BsxArray<double> a;
    for (double v : values) a.Add(v);
    return a;
}
// Contents of a file under Tests/Data, as UTF-8 decoded text
BSX::BsxUnicodeString ReadData(const std::string& name);
// Expects text to be the golden file Tests/Data/<name>; with T3D_REFRESH_GOLDEN set in the
// environment it rewrites the file instead, so that an intended change of a document is one run
// followed by a review of the diff
void ExpectGolden(const std::string& name, const BSX::BsxUnicodeString& text);
// Ids of the log records written since the last ClearLog
std::vector<std::string> LogIds();
void ClearLog();

} // namespace T3DTest
