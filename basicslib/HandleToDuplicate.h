#pragma once

#include <windows.h>

#include "basicslib/Exceptions.h"
#include "basicslib/Handle.h"

namespace tvn
{

/// A borrowed handle of this process from which duplicates are made.
class HandleToDuplicate
{
  public:
    /// `h` stays the caller's and must be open while `Duplicate` runs; it may be invalid.
    explicit HandleToDuplicate(HANDLE h) noexcept : m_h(h) {}

    /// A new inheritable handle with the same access, which the caller owns; INVALID_HANDLE_VALUE,
    /// without a system call, when the wrapped handle is invalid. Throws Win32Exception.
    HANDLE Duplicate() const
    {
        if (!Handle::IsValid(m_h)) {
            return INVALID_HANDLE_VALUE;
        }
        HANDLE duplicate = nullptr;
        if (!DuplicateHandle(GetCurrentProcess(), m_h, GetCurrentProcess(), &duplicate, 0, TRUE,
                             DUPLICATE_SAME_ACCESS)) {
            throw Win32Exception(GetLastError(), __FILE__, __LINE__);
        }
        return duplicate;
    }

  private:
    HANDLE m_h;
};

}  // namespace tvn
