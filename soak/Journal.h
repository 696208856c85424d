#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace soak
{

/// A table of a report: its first row is the heading.
using Table = std::vector<std::vector<std::string>>;

/// What a campaign tells while it runs and what is left of it at the end. Everything goes to the
/// standard output in lines that tools/soak reads: "PROGRESS ...", "FAULT ..." and "RESULT ...";
/// the tables go to a file. Used by one thread.
class Journal
{
  public:
    Journal(std::string campaign, std::uint64_t seed);

    /// What repeats the case that runs now: an option, a constant, and its number. It is printed
    /// with each fault, and when the program crashes. Cheap.
    static void NoteCase(const char* option, std::uint64_t number) noexcept;

    /// Tells how far the campaign is, about once a second, and how much time is left if it goes on
    /// like this. `part` is from 0 to 1.
    void Progress(double part, const std::string& what);

    /// Something that must not happen: printed at once with what repeats it. From some number on
    /// they are only counted.
    void Fault(const std::string& what);

    /// Counts what was done and what of it ended as it should, in units of `unit`.
    void Count(std::uint64_t done, std::uint64_t survived);

    /// Adds to what the whole campaign has left behind in this process.
    void Leaked(std::ptrdiff_t handles, std::ptrdiff_t kibibytes);

    void AddTable(const std::string& title, Table table);

    /// Prints the result, writes the tables to `file` unless it is empty, and gives the exit code
    /// of the program: 0 when there was no fault.
    int Finish(const std::string& unit, const std::string& file) const;

    /// Ends the program from wherever it is, with the case that ran. Allocates nothing.
    [[noreturn]] static void Crash(const char* what, std::uintptr_t code,
                                   const void* where) noexcept;

  private:
    using Clock = std::chrono::steady_clock;

    std::string m_campaign;
    std::uint64_t m_seed;
    Clock::time_point m_start = Clock::now();
    Clock::time_point m_told = Clock::now();
    std::uint64_t m_done = 0;
    std::uint64_t m_survived = 0;
    std::size_t m_faults = 0;
    std::ptrdiff_t m_handles = 0;
    std::ptrdiff_t m_kibibytes = 0;
    std::vector<std::pair<std::string, Table>> m_tables;
};

/// Seconds as "1:05".
std::string ClockTime(double seconds);

}  // namespace soak
