#include "DemoOutput.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace KRN {

DemoOutputFile::~DemoOutputFile()
{
    if (m_file) std::fclose(m_file);
    if (!m_committed && !m_temporary.empty()) unlink(m_temporary.c_str());
}

bool DemoOutputFile::Fail(const std::string& what, std::string& error)
{
    error = what + " '" + m_path + "': " + std::strerror(errno);
    return false;
}

bool DemoOutputFile::Open(std::string& error)
{
    const size_t slash = m_path.find_last_of('/');
    const std::string dir = slash == std::string::npos ? std::string() : m_path.substr(0, slash + 1);
    const std::string base = slash == std::string::npos ? m_path : m_path.substr(slash + 1);
    // Hidden and in the same folder, so that the final rename stays on one file system
    std::string name = dir + "." + base + ".XXXXXX";
    const int fd = mkstemp(&name[0]);
    if (fd < 0) return Fail("cannot write", error);
    m_temporary = name;
    // mkstemp makes the file private; the result should look like any file the user writes
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(fd, 0666 & ~mask);
    m_file = fdopen(fd, "wb");
    if (!m_file) {
        close(fd);
        return Fail("cannot write", error);
    }
    return true;
}

bool DemoOutputFile::Write(const void* data, size_t size, std::string& error)
{
    if (!m_file) {
        error = "cannot write '" + m_path + "': the file is not open";
        return false;
    }
    if (size > 0 && std::fwrite(data, 1, size, m_file) != size) return Fail("cannot write", error);
    return true;
}

bool DemoOutputFile::Close(std::string& error)
{
    if (!m_file) return true;
    const bool flushed = std::fflush(m_file) == 0 && !std::ferror(m_file);
    const int flushErrno = errno;
    const bool closed = std::fclose(m_file) == 0;
    m_file = nullptr;
    if (!flushed) errno = flushErrno;
    if (!flushed || !closed) return Fail("cannot write", error);
    return true;
}

bool DemoOutputFile::Commit(std::string& error)
{
    if (!Close(error)) return false;
    if (std::rename(m_temporary.c_str(), m_path.c_str()) != 0) return Fail("cannot rename the finished file to", error);
    m_committed = true;
    return true;
}

DemoOutputFile& DemoOutputSet::Begin(const std::string& path)
{
    m_files.push_back(std::make_unique<DemoOutputFile>(path));
    return *m_files.back();
}

bool DemoOutputSet::WriteText(const std::string& path, const std::string& text, std::string& error)
{
    DemoOutputFile& file = Begin(path);
    return file.Open(error) && file.Write(text.data(), text.size(), error) && file.Close(error);
}

bool DemoOutputSet::Commit(std::string& error)
{
    for (; m_committed < m_files.size(); ++m_committed) {
        if (!m_files[m_committed]->Commit(error)) return false;
    }
    return true;
}

bool MakeDirectory(const std::string& dir, std::string& error)
{
    std::string partial;
    for (size_t i = 0; i <= dir.size(); ++i) {
        if (i == dir.size() || (dir[i] == '/' && i > 0)) {
            partial = dir.substr(0, i);
            if (mkdir(partial.c_str(), 0755) != 0 && errno != EEXIST) {
                error = "cannot create the folder '" + partial + "': " + std::strerror(errno);
                return false;
            }
        }
    }
    struct stat st {};
    if (stat(dir.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) {
        error = "'" + dir + "' is not a folder";
        return false;
    }
    return true;
}

} // namespace KRN
