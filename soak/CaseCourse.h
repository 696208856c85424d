#pragma once

#include <chrono>

#include "soak/Campaign.h"

namespace soak
{

/// Counts through the cases of a campaign: for (CaseCourse course(...); course.Goes();
/// course.Next()). Ends with the number of cases that was asked for, or with the time.
class CaseCourse
{
  public:
    /// `cases` for the usual and for the short form.
    CaseCourse(const Settings& settings, Journal& journal, std::uint64_t cases,
               std::uint64_t shortCases)
        : m_settings(settings),
          m_journal(journal),
          m_end(settings.cases.value_or(settings.shortForm ? shortCases : cases))
    {
        if (settings.onlyCase) {
            m_number = *settings.onlyCase;
            m_end = m_number + 1;
        }
    }

    bool Goes() const
    {
        return m_settings.seconds > 0 && !m_settings.onlyCase ? Part() < 1 : m_number < m_end;
    }

    void Next()
    {
        ++m_number;
        m_journal.Progress(Part(), std::to_string(m_number) + " cases");
    }

    std::uint64_t Number() const { return m_number; }

  private:
    double Part() const
    {
        if (m_settings.seconds > 0) {
            const std::chrono::duration<double> spent = Clock::now() - m_start;
            return spent.count() / m_settings.seconds;
        }
        return static_cast<double>(m_number) / static_cast<double>(m_end);
    }

    using Clock = std::chrono::steady_clock;

    const Settings& m_settings;
    Journal& m_journal;
    std::uint64_t m_number = 0;
    std::uint64_t m_end;
    Clock::time_point m_start = Clock::now();
};

}  // namespace soak
