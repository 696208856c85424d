#include "basicslib/HandleToDuplicate.h"

#include "basicslib/Exceptions.h"
#include "basicslib/Handle.h"

namespace tvn
{

HANDLE HandleToDuplicate::Duplicate() const
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

}  // namespace tvn
