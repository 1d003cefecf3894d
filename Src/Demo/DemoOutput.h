#pragma once
// Output files written whole or not at all: each file goes to a temporary name in its own folder
// and all files of a set are renamed to their final names once every one of them is complete.
// A failed run therefore leaves neither a truncated file nor a scene without its legend.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace KRN {

// One file under a temporary name; removed again unless committed
class DemoOutputFile {
public:
    explicit DemoOutputFile(std::string path) : m_path(std::move(path)) {}
    ~DemoOutputFile();
    DemoOutputFile(const DemoOutputFile&) = delete;
    DemoOutputFile& operator=(const DemoOutputFile&) = delete;

    // Creates the temporary file beside the final path
    bool Open(std::string& error);
    // Appends bytes; false with the system's reason
    bool Write(const void* data, size_t size, std::string& error);
    // Flushes and closes; a full disk often shows only here
    bool Close(std::string& error);
    // Moves the closed file to its final name
    bool Commit(std::string& error);

    const std::string& GetPath() const { return m_path; }

private:
    bool Fail(const std::string& what, std::string& error);

    std::string m_path;
    std::string m_temporary;
    std::FILE* m_file = nullptr;
    bool m_committed = false;
};

// The files of one theme, renamed together
class DemoOutputSet {
public:
    // Starts a file; its bytes go through the answer, which lives as long as the set
    DemoOutputFile& Begin(const std::string& path);
    // A whole file from text
    bool WriteText(const std::string& path, const std::string& text, std::string& error);
    // Renames every file; false when one cannot be renamed (those before it stay renamed)
    bool Commit(std::string& error);
    // How many files, in the order they were begun, are in place
    size_t GetCommitted() const { return m_committed; }

private:
    std::vector<std::unique_ptr<DemoOutputFile>> m_files;
    size_t m_committed = 0;
};

// Creates a folder and its missing parents; false with the system's reason, or when the path
// names something that is not a folder
bool MakeDirectory(const std::string& dir, std::string& error);

} // namespace KRN
