#pragma once

#include <windows.h>

#include "comserver/RegistryKey.h"

namespace comserver
{

/// The machine-wide class registrations, whoever registers. HKEY_CLASSES_ROOT gives the user's own
/// classes precedence over them, and a write there goes to the user's class if there is one.
///
/// One object at a time; another waits until the first is gone. From `Open` to its destruction,
/// HKEY_CLASSES_ROOT means these classes in the whole process, for the system's own functions that
/// register below it.
class MachineClasses
{
  public:
    MachineClasses() noexcept { AcquireSRWLockExclusive(&s_oneAtATime); }

    ~MachineClasses()
    {
        if (m_overriding) {
            RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
        }
        ReleaseSRWLockExclusive(&s_oneAtATime);
    }

    MachineClasses(const MachineClasses&) = delete;
    MachineClasses& operator=(const MachineClasses&) = delete;

    /// Returns an HRESULT; a caller without the right to write there gets its failure here.
    HRESULT Open() noexcept
    {
        HKEY key = nullptr;
        LSTATUS status = RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Classes", 0,
                                       KEY_READ | KEY_WRITE | DELETE, &key);
        m_key.reset(key);
        if (status == ERROR_SUCCESS) {
            status = RegOverridePredefKey(HKEY_CLASSES_ROOT, key);
            m_overriding = status == ERROR_SUCCESS;
        }
        return ResultOf(status);
    }

    /// The open key, borrowed.
    HKEY Get() const noexcept { return m_key.get(); }

  private:
    // Needs no memory, and leaves none behind when a server that has served nothing is unloaded.
    inline static SRWLOCK s_oneAtATime = SRWLOCK_INIT;

    RegistryKey m_key;
    bool m_overriding = false;
};

}  // namespace comserver
