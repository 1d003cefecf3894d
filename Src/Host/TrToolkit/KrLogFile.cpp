#include "KrLogFile.h"

#include <csignal>
#include <cstdio>
#include <unistd.h>

#include "KrStringEx.h"

namespace KRN {

KrLogFile* KrLogFile::GetInstance(bool)
{
    static KrLogFile instance;
    return &instance;
}

bool KrLogFile::RecordLog(LogLevelType level, const BSX::BsxUnicodeString& id, const BSX::BsxUnicodeString& message,
                          const BSX::BsxUnicodeString& sourceFile, int line)
{
    m_records.push_back(KrLogRecord{static_cast<int>(level), id, message, sourceFile, line});
    return true;
}

bool KrLogFile::RecordLog(LogLevelType level, const BSX::BsxUnicodeString& id, const BSX::BsxUnicodeString& sourceFile, int line)
{
    KrStringEx text;
    text.LoadResString(id);
    return RecordLog(level, id, text, sourceFile, line);
}

void KrLogFile::Dump(int signal)
{
    // Only async-signal-safe calls here
    char buf[64];
    int n = std::snprintf(buf, sizeof buf, "KrLogFile: signal %d\n", signal);
    if (n > 0) {
        ssize_t ignored = ::write(2, buf, static_cast<size_t>(n));
        (void)ignored;
    }
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

} // namespace KRN
