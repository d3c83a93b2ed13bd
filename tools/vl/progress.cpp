// The progress line.

#include "progress.h"

#include "printable.h"

#include "platform/terminal.h"

#include <cstdio>
#include <utility>

Progress::Progress(std::string verb, std::uint64_t total)
    : m_strVerb(std::move(verb)), m_uTotal(total), m_bTerminal(vl::platform::standardErrorIsTerminal()) {}

Progress::~Progress() {
    if (m_iShownPercent >= 0)
        std::fputs("\r\033[K", stderr);
}

void Progress::show(std::uint64_t done, const std::string &current) {
    const int percent = m_uTotal ? static_cast<int>(done * 100 / m_uTotal) : 100;
    if (!m_bTerminal || percent == m_iShownPercent)
        return;
    m_iShownPercent = percent;
    std::fprintf(stderr, "\r\033[K%s %3d%%  %.60s", m_strVerb.c_str(), percent, printable(current).c_str());
}
