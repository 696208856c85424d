#include "instance/InstanceWindow.h"

#include <utility>

#include "basicslib/Exceptions.h"
#include "basicslib/InstanceProtocol.h"

namespace instance
{

InstanceWindow::InstanceWindow(std::function<void()> onClose) : m_onClose(std::move(onClose))
{
    HINSTANCE module = GetModuleHandleW(nullptr);
    WNDCLASSW windowClass = {};
    windowClass.lpfnWndProc = &Procedure;
    windowClass.hInstance = module;
    windowClass.lpszClassName = L"TalvernInstance";
    RegisterClassW(&windowClass);
    m_window = CreateWindowExW(0, windowClass.lpszClassName, tvn::kInstanceWindowTitle,
                               WS_OVERLAPPEDWINDOW, 0, 0, 1, 1, nullptr, nullptr, module, nullptr);
    if (m_window == nullptr) {
        throw tvn::Win32Exception(GetLastError(), __FILE__, __LINE__);
    }
    SetWindowLongPtrW(m_window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
}

InstanceWindow::~InstanceWindow()
{
    SetWindowLongPtrW(m_window, GWLP_USERDATA, 0);
    DestroyWindow(m_window);
}

void InstanceWindow::Run()
{
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

void InstanceWindow::Quit()
{
    PostQuitMessage(0);
}

void InstanceWindow::PostClose() const
{
    PostMessageW(m_window, WM_CLOSE, 0, 0);
}

LRESULT CALLBACK InstanceWindow::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    const auto* self =
        reinterpret_cast<const InstanceWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    const bool closes = message == WM_CLOSE || (message == WM_ENDSESSION && wParam != FALSE);
    if (self != nullptr && closes) {
        self->m_onClose();
        return 0;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

}  // namespace instance
