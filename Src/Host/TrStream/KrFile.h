#pragma once
// File-path operations of the host stream library ('/' separated paths).
#include "BsxUnicodeString.h"

namespace KRN {

/// File-path operations of the host stream library ('/' separated paths)
class KrFile {
public:
    /// Directory part with its trailing separator ("/a/b/c.png" gives "/a/b/"), empty when none
    static BSX::BsxUnicodeString GetDir(const BSX::BsxUnicodeString& path);
    /// File-name part ("/a/b/c.png" gives "c.png")
    static BSX::BsxUnicodeString GetName(const BSX::BsxUnicodeString& path);
    /// target expressed relative to the directory base, keeping a trailing separator
    /// ("/d", "/d/icons/" gives "icons/"; "/d", "/d/" gives ""); target itself when base is
    /// empty or the two cannot be related (one relative, the other absolute)
    static BSX::BsxUnicodeString GetRelativePath(BSX::BsxUnicodeString base, BSX::BsxUnicodeString target);
    /// relative resolved against the directory base and normalised; an absolute relative, or an
    /// empty base, gives relative itself
    static BSX::BsxUnicodeString GetAbsolutePath(const BSX::BsxUnicodeString& base, const BSX::BsxUnicodeString& relative);
};

} // namespace KRN
