#pragma once

#include <windows.h>

#include <functional>

#include "basicslib/Handle.h"

namespace soak
{

/// Has something done by a window message of the thread that made this object, while that thread
/// waits in a method. Its thread owns it; `Run` is for another one.
class NestedCall
{
  public:
    NestedCall();
    ~NestedCall();
    NestedCall(const NestedCall&) = delete;
    NestedCall& operator=(const NestedCall&) = delete;

    /// What the next message does.
    void Set(std::function<void()> action);

    /// Posts the message and waits until it has been dispatched; false when it is not within some
    /// seconds.
    bool Run();

    /// Whether the action was called since `Set`.
    bool HasRun() const { return !m_action; }

  private:
    static LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM wide, LPARAM value);

    HWND m_window;
    tvn::Handle m_done;
    std::function<void()> m_action;
};

}  // namespace soak
