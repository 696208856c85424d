#pragma once

#include <windows.h>

namespace tvn
{

/// The owner of one Win32 critical section.
class CriticalSection
{
  public:
    CriticalSection() noexcept { InitializeCriticalSection(&m_section); }
    virtual ~CriticalSection() { DeleteCriticalSection(&m_section); }
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    /// Borrowed: valid as long as this object lives. For `SyncScope`.
    CRITICAL_SECTION* Get() noexcept { return &m_section; }

  private:
    CRITICAL_SECTION m_section;
};

/// Holds a critical section from construction to destruction.
class SyncScope
{
  public:
    /// Waits without a limit until the section is free; it must outlive this object.
    explicit SyncScope(CRITICAL_SECTION* section) noexcept : m_section(section)
    {
        EnterCriticalSection(m_section);
    }
    virtual ~SyncScope() { LeaveCriticalSection(m_section); }
    SyncScope(const SyncScope&) = delete;
    SyncScope& operator=(const SyncScope&) = delete;

  private:
    CRITICAL_SECTION* m_section;
};

}  // namespace tvn
