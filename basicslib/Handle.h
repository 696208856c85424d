#pragma once

#include <windows.h>

namespace tvn
{

/// The owner of one Win32 handle, shared through boost::shared_ptr and never copied. Immutable, so
/// it may be used from several threads. An empty pointer to a Handle and a Handle with an invalid
/// value both mean that there is no handle.
class Handle
{
  public:
    /// Takes ownership of `h`, which may be invalid.
    explicit Handle(HANDLE h) noexcept : m_h(h) {}

    /// Closes the handle if it is valid.
    ~Handle()
    {
        if (IsValid()) {
            CloseHandle(m_h);
        }
    }

    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    /// The raw value, borrowed: it is valid as long as this object lives.
    HANDLE Get() const noexcept { return m_h; }

    bool IsValid() const noexcept { return IsValid(m_h); }

    /// A handle value is valid when it is neither NULL nor INVALID_HANDLE_VALUE.
    static bool IsValid(HANDLE h) noexcept { return h != nullptr && h != INVALID_HANDLE_VALUE; }

  private:
    HANDLE m_h;
};

}  // namespace tvn
