#pragma once

#include <windows.h>

#include <string>

namespace soak
{

/// The path of this program, the folder that it is in, and the one above that.
inline std::string ProgramPath()
{
    char path[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, path, MAX_PATH);
    return path;
}

inline std::string ProgramFolder()
{
    const std::string path = ProgramPath();
    return path.substr(0, path.rfind('\\'));
}

inline std::string FolderAbove()
{
    const std::string folder = ProgramFolder();
    return folder.substr(0, folder.rfind('\\'));
}

}  // namespace soak
