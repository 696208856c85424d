#pragma once

#include <oaidl.h>

#include <algorithm>
#include <cstring>

namespace comserver
{

/// The arguments of a call through `IDispatch`, with every reference to a left-out argument
/// replaced by a left-out argument. This is how languages pass an optional parameter of their own
/// on, and the type information takes such a reference for a value that it cannot convert.
///
/// Lives as long as the call; what the arguments point to stays the caller's.
class CallArguments
{
  public:
    /// `given`, which may be null, is left as it is. A call with more arguments than any method has
    /// parameters fails anyway, and is passed on unchanged.
    explicit CallArguments(DISPPARAMS* given) noexcept : m_passed(given)
    {
        if (given == nullptr || given->rgvarg == nullptr || given->cArgs > kMostArguments) {
            return;
        }
        m_followed = *given;
        m_followed.rgvarg = m_values;
        m_passed = &m_followed;
        std::transform(given->rgvarg, given->rgvarg + given->cArgs, m_values, &Followed);
    }

    CallArguments(const CallArguments&) = delete;
    CallArguments& operator=(const CallArguments&) = delete;

    /// For `ITypeInfo::Invoke`; null when none were given.
    DISPPARAMS* Get() noexcept { return m_passed; }

  private:
    static constexpr UINT kMostArguments = 16;

    static VARIANT Followed(const VARIANT& value) noexcept
    {
        if (V_VT(&value) != (VT_VARIANT | VT_BYREF) || V_VARIANTREF(&value) == nullptr) {
            return value;
        }
        VARIANT referred;  // copied, since hosts keep their variables where it suits them
        std::memcpy(&referred, V_VARIANTREF(&value), sizeof referred);
        const bool leftOut =
            V_VT(&referred) == VT_ERROR && V_ERROR(&referred) == DISP_E_PARAMNOTFOUND;
        return leftOut ? referred : value;
    }

    DISPPARAMS* m_passed;
    DISPPARAMS m_followed;
    VARIANT m_values[kMostArguments];
};

}  // namespace comserver
