#pragma once

#include <windows.h>

#include <functional>

namespace instance
{

/// The hidden window by which an instance is found and which names its command pipe. Belongs to the
/// thread that makes it.
class InstanceWindow
{
  public:
    /// `onClose` is called, on the same thread, when the window is told to close, by `PostClose` or
    /// because the user's session ends. Throws Win32Exception when the window cannot be created.
    explicit InstanceWindow(std::function<void()> onClose);
    ~InstanceWindow();
    InstanceWindow(const InstanceWindow&) = delete;
    InstanceWindow& operator=(const InstanceWindow&) = delete;

    HWND Get() const noexcept { return m_window; }

    /// Dispatches messages until `Quit` was called on this thread.
    static void Run();
    static void Quit();

    /// Tells the window to close; from any thread.
    void PostClose() const;

  private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

    std::function<void()> m_onClose;
    HWND m_window = nullptr;
};

}  // namespace instance
