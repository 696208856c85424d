#pragma once

#include <string_view>

namespace soak
{

/// How a system call tells that it has failed.
enum class Failing : unsigned char {
    Never,           ///< it cannot, or has no way to say so
    Zero,            ///< FALSE, NULL or a length of 0, with a last error
    MinusOne,        ///< INVALID_HANDLE_VALUE or WAIT_FAILED, with a last error
    Code,            ///< the error code is the result
    Hresult,         ///< E_OUTOFMEMORY
    ZeroAfterwards,  ///< FALSE though it was carried out: it gives something back
    CodeAfterwards,  ///< an error code though it was carried out
    ComString,       ///< NULL from one of the three that make COM strings
    ComStringFreed,  ///< counted, never fails
};

struct SystemCall
{
    std::string_view name;
    Failing failing;
};

/// How the call fails; a null pointer for one that is not known here.
const SystemCall* FindSystemCall(std::string_view name);

}  // namespace soak
