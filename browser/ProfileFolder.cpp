#include "browser/ProfileFolder.h"

#include <filesystem>
#include <fstream>
#include <system_error>

#include "basicslib/ComString.h"
#include "basicslib/TimeBudget.h"
#include "browser/BrowserError.h"
#include "browser/FileNames.h"
#include "browser/HostSystem.h"
#include "browser/UserFolder.h"
#include "browser/Utf8.h"
#include "pipeutils/PipeNames.h"

namespace browser
{
namespace
{

namespace fs = std::filesystem;

constexpr const wchar_t* kFresh = L"\\Fresh profiles";
constexpr const wchar_t* kKept = L"\\Profiles";
constexpr const wchar_t* kMark = L".owner";
constexpr DWORD kPause = 5;

/// The file is opened without sharing and is deleted with its last handle: whoever can open it
/// knows that its owner has gone.
HANDLE OpenMark(const std::wstring& folder)
{
    return CreateFileW((folder + kMark).c_str(), GENERIC_READ | GENERIC_WRITE | DELETE, 0, nullptr,
                       OPEN_ALWAYS, FILE_ATTRIBUTE_HIDDEN | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
}

/// Removes what is at `path`, a folder with all that is in it. Of a link, only the link goes: what
/// it leads to is somebody else's. The library does not know Windows' links, and its removal of a
/// whole tree never returns from a folder that holds files which cannot be seen here.
void RemoveTree(const fs::path& path)
{
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        return;
    }
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        DeleteFileW(path.c_str());
        return;
    }
    if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) {
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(path, error)) {
            RemoveTree(entry.path());
        }
    }
    RemoveDirectoryW(path.c_str());
}

/// A page that prints would open a dialog that waits for a person. A browser keeps the settings
/// that it finds here when it starts on a profile for the first time.
void ForbidPrinting(const fs::path& profile)
{
    const fs::path file = profile / L"Default" / L"Preferences";
    std::error_code error;
    fs::create_directory(file.parent_path(), error);
    if (!fs::exists(file, error)) {
        std::ofstream(file.c_str()) << R"({"printing": {"enabled": false}})";
    }
}

std::wstring FolderPath(const std::wstring& name)
{
    if (name.empty()) {
        const tvn::ComString unique = tvn::CreateUuidString();
        return UserFolder() + kFresh + L"\\" + std::wstring(tvn::ToView(unique));
    }
    if (!IsFileName(name)) {
        throw BrowserError("\"" + ToUtf8(name) + "\" is no name for a profile.");
    }
    return UserFolder() + kKept + L"\\" + name;
}

}  // namespace

ProfileFolder::ProfileFolder(const std::wstring& name)
    : m_isKept(!name.empty()), m_path(FolderPath(name)), m_mark([this] {
          std::error_code error;
          fs::create_directories(m_path, error);
          return OpenMark(m_path);
      }())
{
    if (m_mark.IsValid() && fs::is_directory(m_path)) {
        ForbidPrinting(m_path);
        return;
    }
    throw BrowserError(m_isKept && fs::is_directory(m_path)
                           ? "The profile \"" + ToUtf8(name) + "\" is in use."
                           : "The profile folder " + ToUtf8(m_path) + " cannot be made.");
}

ProfileFolder::~ProfileFolder()
{
    Remove(0);
}

bool ProfileFolder::Remove(DWORD timeout)
{
    const tvn::TimeBudget budget(timeout);
    while (!m_isKept && !m_isRemoved) {
        RemoveTree(m_path);
        m_isRemoved = GetFileAttributesW(m_path.c_str()) == INVALID_FILE_ATTRIBUTES;
        if (!m_isRemoved && budget.Remaining() == 0) {
            return false;
        }
        Sleep(m_isRemoved ? 0 : kPause);
    }
    return true;
}

void ProfileFolder::RemoveAbandoned()
{
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(UserFolder() + kFresh, error)) {
        const std::wstring folder = entry.path().wstring();
        const tvn::Handle mark(IsFile(folder) ? nullptr : OpenMark(folder));
        if (mark.IsValid()) {
            EndOnHost(folder, true);
            RemoveTree(folder);
        }
    }
}

}  // namespace browser
