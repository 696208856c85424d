#pragma once

#include <mutex>

#include "comserver/RegistryKey.h"

namespace comserver
{

/// The classes of the machine, whoever registers: HKEY_CLASSES_ROOT shows the classes of the user
/// in front of them, and writes to a class there that the user has one of.
///
/// One object at a time; another waits until the first is gone. From `Open` to its destruction,
/// HKEY_CLASSES_ROOT means these classes in the whole process, for the system's own functions that
/// register below it.
class MachineClasses
{
  public:
    MachineClasses() noexcept = default;
    ~MachineClasses()
    {
        if (m_overriding) {
            RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
        }
    }
    MachineClasses(const MachineClasses&) = delete;
    MachineClasses& operator=(const MachineClasses&) = delete;

    /// Returns an HRESULT; a caller without the right to write there gets its failure here.
    HRESULT Open() noexcept
    {
        LSTATUS status = RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Classes", 0,
                                       KEY_READ | KEY_WRITE | DELETE, m_key.Receive());
        if (status == ERROR_SUCCESS) {
            status = RegOverridePredefKey(HKEY_CLASSES_ROOT, m_key.Get());
            m_overriding = status == ERROR_SUCCESS;
        }
        return HRESULT_FROM_WIN32(static_cast<unsigned long>(status));
    }

    /// The open key, borrowed.
    HKEY Get() const noexcept { return m_key.Get(); }

  private:
    inline static std::mutex s_oneAtATime;

    const std::lock_guard<std::mutex> m_lock{s_oneAtATime};
    RegistryKey m_key;
    bool m_overriding = false;
};

}  // namespace comserver
