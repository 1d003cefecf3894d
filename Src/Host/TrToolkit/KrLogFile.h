#pragma once
// The host's log singleton. Records are kept in memory so that a host or a test can read them.
#include <vector>

#include "BsxUnicodeString.h"

namespace KRN {

enum LogLevelType {
    LOG_DEBUG = 100,
    LOG_INFO = 200,
    LOG_WARNING = 300,
    LOG_ERROR = 400,
};

struct KrLogRecord {
    int level = 0;
    BSX::BsxUnicodeString id;
    BSX::BsxUnicodeString message;
    BSX::BsxUnicodeString sourceFile;
    int line = 0;
};

class KrLogFile {
public:
    // The process-wide log (the argument is kept for the host's signature)
    static KrLogFile* GetInstance(bool create = false);

    // Formatted record
    bool RecordLog(LogLevelType level, const BSX::BsxUnicodeString& id, const BSX::BsxUnicodeString& message,
                   const BSX::BsxUnicodeString& sourceFile, int line);
    // Plain record: the log resolves the message from the id's resource text
    bool RecordLog(LogLevelType level, const BSX::BsxUnicodeString& id, const BSX::BsxUnicodeString& sourceFile, int line);

    const std::vector<KrLogRecord>& GetRecords() const { return m_records; }
    void ClearRecords() { m_records.clear(); }

    // Signal handler: writes a line naming the signal to standard error, then lets the
    // signal take its default course
    static void Dump(int signal);

private:
    KrLogFile() = default;
    std::vector<KrLogRecord> m_records;
};

} // namespace KRN
