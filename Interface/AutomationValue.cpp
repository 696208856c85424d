#include "Interface/AutomationValue.h"

#include <oleauto.h>

#include <cstring>

namespace tvn
{
namespace
{

/// The value that a reference points to. A host's variables may be unaligned, so the value is
/// copied with memcpy rather than read in place. What the value itself points to remains the
/// host's.
template <class Value>
Value Referred(const Value* reference) noexcept
{
    Value value;
    std::memcpy(&value, reference, sizeof value);
    return value;
}

VARIANT Follow(const VARIANT& value) noexcept
{
    // One level is what hosts pass; the limit keeps a VARIANT that refers to itself from being
    // followed for ever.
    constexpr int kMostLevels = 8;
    VARIANT current = value;
    for (int level = 0; level < kMostLevels && V_VT(&current) == (VT_VARIANT | VT_BYREF) &&
                        V_VARIANTREF(&current) != nullptr;
         ++level) {
        current = Referred(V_VARIANTREF(&current));
    }
    return current;
}

}  // namespace

bool TextOf(const VARIANT& value, ComString& text)
{
    const VARIANT plain = Follow(value);
    switch (V_VT(&plain)) {
        case VT_BSTR:
            text = ComString(V_BSTR(&plain), true);
            return true;
        case VT_BSTR | VT_BYREF:
            if (V_BSTRREF(&plain) == nullptr) {
                throw _com_error(E_POINTER);
            }
            text = ComString(Referred(V_BSTRREF(&plain)), true);
            return true;
        default:
            return false;
    }
}

std::optional<LONG> IndexOf(const VARIANT& value) noexcept
{
    const VARIANT plain = Follow(value);
    if (V_VT(&plain) == VT_ERROR && V_ERROR(&plain) == DISP_E_PARAMNOTFOUND) {
        return 0;
    }
    if ((V_VT(&plain) & VT_BYREF) != 0 && V_BYREF(&plain) == nullptr) {
        return {};
    }
    _variant_t held;  // holds its own references: an object's default property may run any code
    _variant_t converted;
    if (FAILED(VariantCopyInd(&held, const_cast<VARIANT*>(&plain))) ||
        FAILED(VariantChangeType(&converted, &held, 0, VT_I4))) {
        return {};
    }
    return V_I4(&converted);
}

}  // namespace tvn
