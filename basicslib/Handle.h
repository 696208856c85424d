#pragma once

#include <windows.h>

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <type_traits>

namespace tvn
{

/// The owner of one Win32 handle, shared through boost::shared_ptr and never copied. Immutable, so
/// it may be used from several threads. An empty pointer to a Handle and a Handle with an invalid
/// value both mean that there is no handle. A handle that is used in one function only is a local
/// Handle there.
class Handle
{
  public:
    /// Takes ownership of `h`, which may be invalid.
    explicit Handle(HANDLE h) noexcept : m_h(h) {}

    /// Takes ownership of what `open` returns, which may be invalid. boost::make_shared calls it
    /// only after the owner has been allocated, so a handle opened in this way never leaks.
    template <class Open, class = std::enable_if_t<std::is_invocable_r_v<HANDLE, Open>>>
    explicit Handle(const Open& open) : m_h(open())
    {}

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
