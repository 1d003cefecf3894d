#include "KrFile.h"

#include <filesystem>

namespace KRN {

namespace fs = std::filesystem;
using BSX::BsxUnicodeString;

namespace {
// Paths travel as UTF-8: a wide path converted through the C locale throws on any character
// outside ASCII (an icon named in Chinese, say), where UTF-8 represents every character
fs::path ToPath(const BsxUnicodeString& text) { return fs::u8path(text.ToUtf8()); }
std::wstring FromPath(const fs::path& path) { return BsxUnicodeString::FromUtf8(path.generic_u8string()).Str(); }
} // namespace

BsxUnicodeString KrFile::GetDir(const BsxUnicodeString& path)
{
    const std::wstring& s = path.Str();
    size_t slash = s.find_last_of(L'/');
    if (slash == std::wstring::npos) return BsxUnicodeString();
    return BsxUnicodeString(s.substr(0, slash + 1));
}

BsxUnicodeString KrFile::GetName(const BsxUnicodeString& path)
{
    const std::wstring& s = path.Str();
    size_t slash = s.find_last_of(L'/');
    return BsxUnicodeString(slash == std::wstring::npos ? s : s.substr(slash + 1));
}

BsxUnicodeString KrFile::GetRelativePath(BsxUnicodeString base, BsxUnicodeString target)
{
    if (base.IsEmpty() || target.IsEmpty()) return target;
    const fs::path b = ToPath(base), t = ToPath(target);
    if (b.is_absolute() != t.is_absolute()) return target;
    fs::path rel = t.lexically_normal().lexically_relative(b.lexically_normal());
    if (rel.empty()) return target;
    std::wstring r = FromPath(rel);
    if (r == L"." || r == L"./") return BsxUnicodeString();
    if (r.back() != L'/' && (target.Str().back() == L'/')) r += L'/';
    // lexically_relative keeps a trailing "." for a directory target ("icons/.")
    if (r.size() >= 2 && r.compare(r.size() - 2, 2, L"/.") == 0) r.pop_back();
    return BsxUnicodeString(r);
}

BsxUnicodeString KrFile::GetAbsolutePath(const BsxUnicodeString& base, const BsxUnicodeString& relative)
{
    if (relative.IsEmpty()) return relative;
    const fs::path r = ToPath(relative);
    if (base.IsEmpty() || r.is_absolute()) return relative;
    return BsxUnicodeString(FromPath((ToPath(base) / r).lexically_normal()));
}

} // namespace KRN
