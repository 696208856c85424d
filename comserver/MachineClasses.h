#pragma once

#include <comdef.h>

#include <mutex>

#include "comserver/RegistryKey.h"

namespace comserver
{

/// The classes of the machine, whoever registers: HKEY_CLASSES_ROOT shows the classes of the user
/// in front of them, and writes to a class there that the user has one of.
///
/// One object at a time; another waits until the first is gone. As long as it lives,
/// HKEY_CLASSES_ROOT means these classes in the whole process, for the system's own functions that
/// register below it.
class MachineClasses
{
  public:
    /// Throws _com_error; a caller without the right to write there gets that failure here.
    MachineClasses()
    {
        HKEY key = nullptr;
        const LSTATUS opened = RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Classes", 0,
                                             KEY_READ | KEY_WRITE | DELETE, &key);
        _com_util::CheckError(ResultOf(opened));
        m_key.reset(key);
        _com_util::CheckError(ResultOf(RegOverridePredefKey(HKEY_CLASSES_ROOT, key)));
    }
    ~MachineClasses() { RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr); }

    /// The open key, borrowed.
    HKEY Get() const noexcept { return m_key.get(); }

  private:
    inline static std::mutex s_oneAtATime;

    const std::lock_guard<std::mutex> m_lock{s_oneAtATime};
    RegistryKey m_key;
};

}  // namespace comserver
