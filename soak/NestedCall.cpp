#include "soak/NestedCall.h"

#include <stdexcept>
#include <utility>

#include "soak/ProductCall.h"

namespace soak
{
namespace
{

constexpr UINT kRunMessage = WM_APP + 1;
constexpr DWORD kLongestAction = 15000;
constexpr const wchar_t* kClassName = L"TalvernSoakNestedCall";

}  // namespace

NestedCall::NestedCall() : m_window(nullptr), m_done(CreateEventA(nullptr, FALSE, FALSE, nullptr))
{
    WNDCLASSW windowClass = {};
    windowClass.lpfnWndProc = &OnMessage;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.lpszClassName = kClassName;
    RegisterClassW(&windowClass);
    m_window = CreateWindowW(kClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                             windowClass.hInstance, nullptr);
    if (m_window == nullptr) {
        throw std::runtime_error("no window can be made");
    }
    SetWindowLongPtrW(m_window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
}

NestedCall::~NestedCall()
{
    DestroyWindow(m_window);
}

void NestedCall::Set(std::function<void()> action)
{
    m_action = std::move(action);
    ResetEvent(m_done.Get());
}

bool NestedCall::Run()
{
    PostMessageW(m_window, kRunMessage, 0, 0);
    return WaitForSingleObject(m_done.Get(), kLongestAction) == WAIT_OBJECT_0;
}

LRESULT CALLBACK NestedCall::OnMessage(HWND window, UINT message, WPARAM wide, LPARAM value)
{
    if (message != kRunMessage) {
        return DefWindowProcW(window, message, wide, value);
    }
    const ProductCall::Pause pause;
    auto* const self = reinterpret_cast<NestedCall*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    const auto action = std::exchange(self->m_action, nullptr);
    if (action) {
        action();
    }
    SetEvent(self->m_done.Get());
    return 0;
}

}  // namespace soak
