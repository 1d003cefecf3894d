#pragma once
// A progress bar on the terminal, shown only when standard output is one and the work is long.
#include <chrono>
#include <cstddef>
#include <string>

namespace KRN {

class DemoProgress {
public:
    // Layers below this many features finish before a bar would be worth drawing
    static constexpr size_t kMinimumCount = 5000;

    DemoProgress(const std::string& label, size_t total, bool enabled);
    ~DemoProgress();
    DemoProgress(const DemoProgress&) = delete;
    DemoProgress& operator=(const DemoProgress&) = delete;

    // Reports that done of total items are finished (redraws at most a few times a second)
    void Update(size_t done);
    // The same with a note after the count (such as the tiles done)
    void Update(size_t done, const std::string& note);
    void Finish();

private:
    void Draw(size_t done);
    std::string m_label;
    std::string m_note;
    size_t m_total;
    bool m_active;
    std::chrono::steady_clock::time_point m_last;
};

} // namespace KRN
