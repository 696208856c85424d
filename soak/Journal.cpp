#include "soak/Journal.h"

#include <windows.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>

#include "soak/FailurePoint.h"

namespace soak
{
namespace
{

constexpr std::size_t kPrintedFaults = 25;

/// What repeats the case that runs now, for whoever has to tell it without allocating.
struct
{
    char campaign[64] = "";
    unsigned long long seed = 0;
    const char* option = nullptr;
    unsigned long long number = 0;
} g_case;

void DescribeCase(char (&text)[256]) noexcept
{
    const int length =
        std::snprintf(text, sizeof text, "tools/soak %s --seed %llu", g_case.campaign, g_case.seed);
    if (g_case.option != nullptr && length > 0) {
        const auto used = static_cast<std::size_t>(length);
        std::snprintf(text + used, sizeof text - used, " %s %llu", g_case.option, g_case.number);
    }
}

}  // namespace

std::string ClockTime(double seconds)
{
    char text[32];
    const auto whole = static_cast<int>(std::lround(seconds));
    std::snprintf(text, sizeof text, "%d:%02d", whole / 60, whole % 60);
    return text;
}

Journal::Journal(std::string campaign, std::uint64_t seed)
    : m_campaign(std::move(campaign)), m_seed(seed)
{
    std::snprintf(g_case.campaign, sizeof g_case.campaign, "%s", m_campaign.c_str());
    g_case.seed = seed;
}

void Journal::NoteCase(const char* option, std::uint64_t number) noexcept
{
    g_case.option = option;
    g_case.number = number;
}

void Journal::Progress(double part, const std::string& what)
{
    const auto now = Clock::now();
    if (now - m_told < std::chrono::seconds(1)) {
        return;
    }
    m_told = now;
    const double spent = std::chrono::duration<double>(now - m_start).count();
    const std::string left = part > 0 ? ClockTime(spent / part - spent) : "?";
    std::printf("PROGRESS %3.0f %% %s left  %s\n", part * 100, left.c_str(), what.c_str());
    std::fflush(stdout);
}

void Journal::Fault(const std::string& what)
{
    if (++m_faults <= kPrintedFaults) {
        char repeats[256];
        DescribeCase(repeats);
        std::printf("FAULT %s: %s\nREPEAT %s\n", m_campaign.c_str(), what.c_str(), repeats);
        std::fflush(stdout);
    }
}

void Journal::Count(std::uint64_t done, std::uint64_t survived)
{
    m_done += done;
    m_survived += survived;
}

void Journal::Leaked(std::ptrdiff_t handles, std::ptrdiff_t kibibytes)
{
    m_handles += handles;
    m_kibibytes += kibibytes;
}

void Journal::AddTable(const std::string& title, Table table)
{
    m_tables.emplace_back(title, std::move(table));
}

int Journal::Finish(const std::string& unit, const std::string& file) const
{
    const double spent = std::chrono::duration<double>(Clock::now() - m_start).count();
    std::printf("RESULT|%s|%llu|%s|%llu|%zu|%td|%td|%.0f|%llu\n", m_campaign.c_str(),
                static_cast<unsigned long long>(m_done), unit.c_str(),
                static_cast<unsigned long long>(m_survived), m_faults, m_handles, m_kibibytes,
                spent, static_cast<unsigned long long>(m_seed));
    std::fflush(stdout);
    if (!file.empty()) {
        std::ofstream out(file, std::ios::binary);
        for (const auto& [title, table] : m_tables) {
            out << title << "\n\n";
            for (std::size_t row = 0; row < table.size(); ++row) {
                for (const std::string& cell : table[row]) {
                    out << "| " << cell << ' ';
                }
                out << "|\n";
                for (std::size_t column = 0; row == 0 && column < table[0].size(); ++column) {
                    out << "|---";
                }
                out << (row == 0 ? "|\n" : "");
            }
            out << '\n';
        }
    }
    return m_faults == 0 ? 0 : 1;
}

void Journal::Crash(const char* what, std::uintptr_t code, const void* where) noexcept
{
    char repeats[256];
    DescribeCase(repeats);
    const char* const struck = FailurePoint::Struck() == nullptr ? "-" : FailurePoint::Struck();
    char text[512];
    const int length = std::snprintf(
        text, sizeof text, "FAULT %s (%llX) at %p, after the failure of: %s\nREPEAT %s\n", what,
        static_cast<unsigned long long>(code), where, struck, repeats);
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text, static_cast<DWORD>(std::max(length, 0)),
              &written, nullptr);
    TerminateProcess(GetCurrentProcess(), 3);
    std::abort();
}

}  // namespace soak
