#include "process/ProcessFileName.h"

#include <psapi.h>

#include <cstring>
#include <string_view>

namespace tvn
{

ComString GetProcessFileName(HANDLE processHandle)
{
    constexpr DWORD kPathSize = 512;

    HMODULE module = nullptr;
    DWORD needed = 0;
    if (!EnumProcessModules(processHandle, &module, sizeof module, &needed)) {
        return ToComString("");
    }
    char path[kPathSize];
    const DWORD length = GetModuleFileNameExA(processHandle, module, path, kPathSize - 1);
    const std::string_view text(path, length);
    const std::size_t separator = text.find_last_of("\\/");
    return ToComString(separator == std::string_view::npos ? text : text.substr(separator + 1));
}

bool HasProcessFileName(HANDLE processHandle, const ComString& name)
{
    const ComString fileName = GetProcessFileName(processHandle);
    const char* wanted = name;
    return _stricmp(fileName, wanted == nullptr ? "" : wanted) == 0;
}

}  // namespace tvn
