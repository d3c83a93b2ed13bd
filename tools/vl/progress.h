// A progress line on standard error, for long work watched at a terminal.
#pragma once

#include <cstdint>
#include <string>

class Progress {
  public:
    /// `verb` begins the line: "packing". Nothing is shown when standard error is not a terminal.
    Progress(std::string verb, std::uint64_t total);
    /// Wipes the line.
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    /// So much of the total is done, and this is being worked on now.
    void show(std::uint64_t done, const std::string &current);

  private:
    std::string m_strVerb;
    std::uint64_t m_uTotal;
    bool m_bTerminal;
    int m_iShownPercent = -1;
};
