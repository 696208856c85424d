#pragma once

#include <windows.h>

#include <chrono>
#include <functional>
#include <string>

#include "basicslib/ComString.h"

namespace tests
{

/// Folder of this program, and below it what the build made for the tests.
std::string BuildFolder();
std::string StandinFolder();

/// Sets a value in the 32-bit view below HKEY_LOCAL_MACHINE.
void SetRegistryValue(const std::string& key, const char* name, const std::string& value,
                      DWORD type = REG_SZ, REGSAM view = KEY_WOW64_32KEY,
                      HKEY root = HKEY_LOCAL_MACHINE);
void DeleteRegistryKey(const std::string& key, REGSAM view = KEY_WOW64_32KEY,
                       HKEY root = HKEY_LOCAL_MACHINE);

/// The handles that this process has open.
int CountHandles();

/// Milliseconds that `work` takes.
template <class Work>
long long Elapsed(Work work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 start)
        .count();
}

inline std::string Narrow(const tvn::ComString& text)
{
    return tvn::ToNarrow(tvn::ToView(text));
}

/// A started program, ended with the object.
class ChildProcess
{
  public:
    explicit ChildProcess(const std::string& commandLine);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    HANDLE Get() const { return m_info.hProcess; }
    DWORD Pid() const { return m_info.dwProcessId; }

  private:
    PROCESS_INFORMATION m_info = {};
};

/// Repeats `condition` until it is true; false when it is not after some seconds.
bool Eventually(const std::function<bool()>& condition);

/// A message-only window whose messages call `action`.
class ActionWindow
{
  public:
    explicit ActionWindow(std::function<void()> action);
    ~ActionWindow();
    ActionWindow(const ActionWindow&) = delete;
    ActionWindow& operator=(const ActionWindow&) = delete;

    /// Calls the action from a message that arrives after `delay` milliseconds.
    void CallLater(UINT delay) { SetTimer(m_window, 1, delay, nullptr); }
    void Post() { PostMessageA(m_window, WM_APP, 0, 0); }

  private:
    std::function<void()> m_action;
    HWND m_window;
    static LRESULT CALLBACK Proc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
};

}  // namespace tests
