#pragma once
// The host's log singleton. Records are kept in memory so that a host or a test can read them.
#include <vector>

#include "BsxUnicodeString.h"

namespace KRN {

/// Levels of log records; the themes write at 400
enum LogLevelType {
    LOG_DEBUG = 100,   ///< tracing
    LOG_INFO = 200,    ///< information
    LOG_WARNING = 300, ///< something to look at
    LOG_ERROR = 400,   ///< a failed read, write or lookup
};

/// One record of the log
struct KrLogRecord {
    int level = 0;                     ///< LogLevelType value
    BSX::BsxUnicodeString id;          ///< message id, such as "EGg040"
    BSX::BsxUnicodeString message;     ///< formatted text; empty for plain records
    BSX::BsxUnicodeString sourceFile;  ///< source file the record names
    int line = 0;                      ///< line in that file
};

/// The host's log singleton; records are kept in memory so that a host or a test can read them
class KrLogFile {
public:
    /// The process-wide log (the argument is kept for the host's signature)
    static KrLogFile* GetInstance(bool create = false);

    /// Formatted record
    bool RecordLog(LogLevelType level, const BSX::BsxUnicodeString& id, const BSX::BsxUnicodeString& message,
                   const BSX::BsxUnicodeString& sourceFile, int line);
    /// Plain record: the log resolves the message from the id's resource text
    bool RecordLog(LogLevelType level, const BSX::BsxUnicodeString& id, const BSX::BsxUnicodeString& sourceFile, int line);

    /// Records written so far, oldest first
    const std::vector<KrLogRecord>& GetRecords() const { return m_records; }
    /// Forgets every record
    void ClearRecords() { m_records.clear(); }

    /// Signal handler: writes a line naming the signal to standard error, then lets the
    /// signal take its default course
    static void Dump(int signal);

private:
    KrLogFile() = default;
    std::vector<KrLogRecord> m_records;
};

} // namespace KRN
