#include "DemoProgress.h"

#include <cstdio>
#include <unistd.h>

namespace KRN {

namespace {
constexpr int kWidth = 40;
constexpr auto kRedraw = std::chrono::milliseconds(100);
} // namespace

DemoProgress::DemoProgress(const std::string& label, size_t total, bool enabled)
    : m_label(label), m_total(total), m_active(enabled && total >= kMinimumCount && isatty(STDOUT_FILENO) == 1),
      m_last(std::chrono::steady_clock::now())
{
    if (m_active) Draw(0);
}

DemoProgress::~DemoProgress() { Finish(); }

void DemoProgress::Update(size_t done)
{
    if (!m_active) return;
    const auto now = std::chrono::steady_clock::now();
    if (now - m_last < kRedraw) return;
    m_last = now;
    Draw(done);
}

void DemoProgress::Update(size_t done, const std::string& note)
{
    m_note = note;
    Update(done);
}

void DemoProgress::Finish()
{
    if (!m_active) return;
    Draw(m_total);
    std::printf("\n");
    std::fflush(stdout);
    m_active = false;
}

void DemoProgress::Draw(size_t done)
{
    const double share = m_total ? static_cast<double>(done) / static_cast<double>(m_total) : 1.0;
    const int filled = static_cast<int>(share * kWidth);
    std::printf("\r  %-8s [", m_label.c_str());
    for (int i = 0; i < kWidth; ++i) std::putchar(i < filled ? '#' : '.');
    std::printf("] %3d%% %zu/%zu", static_cast<int>(share * 100.0), done, m_total);
    if (!m_note.empty()) std::printf(" %s  ", m_note.c_str());
    std::fflush(stdout);
}

} // namespace KRN
