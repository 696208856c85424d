#include "tests/surroundings.h"

#include <gtest/gtest.h>

#include <thread>

namespace tests
{

std::string BuildFolder()
{
    char path[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, path, MAX_PATH);
    const std::string program = path;
    return program.substr(0, program.find_last_of('\\', program.find_last_of('\\') - 1));
}

std::string StandinFolder()
{
    return BuildFolder() + "\\standins";
}

void SetRegistryValue(const std::string& key, const char* name, const std::string& value,
                      DWORD type, REGSAM view, HKEY root)
{
    HKEY opened = nullptr;
    ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExA(root, key.c_str(), 0, nullptr, 0, KEY_WRITE | view,
                                             nullptr, &opened, nullptr));
    EXPECT_EQ(ERROR_SUCCESS,
              RegSetValueExA(opened, name, 0, type, reinterpret_cast<const BYTE*>(value.c_str()),
                             static_cast<DWORD>(value.size() + 1)));
    RegCloseKey(opened);
}

void DeleteRegistryKey(const std::string& key, REGSAM view, HKEY root)
{
    HKEY opened = nullptr;
    if (RegOpenKeyExA(root, key.c_str(), 0, KEY_ALL_ACCESS | view, &opened) == ERROR_SUCCESS) {
        RegDeleteTreeA(opened, nullptr);
        RegCloseKey(opened);
        RegDeleteKeyExA(root, key.c_str(), view, 0);
    }
}

int CountHandles()
{
    // What the runtime opens once, for the first thread, debug line and message, is not counted.
    static const bool opened = [] {
        std::thread([] { OutputDebugStringA(""); }).join();
        MSG message;
        PeekMessageA(&message, nullptr, 0, 0, PM_NOREMOVE);
        const HANDLE event = CreateEventA(nullptr, TRUE, TRUE, nullptr);
        MsgWaitForMultipleObjects(1, &event, FALSE, 0, QS_ALLINPUT);
        return CloseHandle(event) != FALSE;
    }();
    static_cast<void>(opened);
    // The system's own count is not there on every platform: every value in use answers.
    int count = 0;
    for (ULONG_PTR value = 4; value < 0x2000; value += 4) {
        DWORD flags = 0;
        count += GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) ? 1 : 0;
    }
    return count;
}

ChildProcess::ChildProcess(const std::string& commandLine)
{
    std::string writable = commandLine;
    STARTUPINFOA startupInfo = {};
    startupInfo.cb = sizeof startupInfo;
    EXPECT_TRUE(CreateProcessA(nullptr, writable.data(), nullptr, nullptr, FALSE, 0, nullptr,
                               nullptr, &startupInfo, &m_info))
        << commandLine;
}

ChildProcess::~ChildProcess()
{
    TerminateProcess(m_info.hProcess, 1);
    WaitForSingleObject(m_info.hProcess, 5000);
    CloseHandle(m_info.hThread);
    CloseHandle(m_info.hProcess);
}

bool Eventually(const std::function<bool()>& condition)
{
    for (int tries = 0; tries < 500; ++tries) {
        if (condition()) {
            return true;
        }
        Sleep(20);
    }
    return false;
}

ActionWindow::ActionWindow(std::function<void()> action) : m_action(std::move(action))
{
    WNDCLASSA windowClass = {};
    windowClass.lpfnWndProc = &Proc;
    windowClass.lpszClassName = "TestAction";
    RegisterClassA(&windowClass);
    m_window =
        CreateWindowA("TestAction", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    SetWindowLongPtrA(m_window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
}

ActionWindow::~ActionWindow()
{
    DestroyWindow(m_window);
}

LRESULT CALLBACK ActionWindow::Proc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_TIMER || message == WM_APP) {
        KillTimer(window, 1);
        reinterpret_cast<ActionWindow*>(GetWindowLongPtrA(window, GWLP_USERDATA))->m_action();
        return 0;
    }
    return DefWindowProcA(window, message, wParam, lParam);
}

}  // namespace tests
