#include "browser/ProfileFolder.h"

#include <filesystem>
#include <system_error>

#include "basicslib/ComString.h"
#include "basicslib/Log.h"
#include "basicslib/TimeBudget.h"
#include "browser/BrowserError.h"
#include "browser/HostSystem.h"
#include "browser/Utf8.h"
#include "pipeutils/PipeNames.h"

namespace browser
{
namespace
{

namespace fs = std::filesystem;

constexpr const wchar_t* kPrefix = L"talvern-profile-";
constexpr const wchar_t* kMark = L".owner";
constexpr DWORD kPause = 50;

/// The file is shared with nobody and goes with its last handle: whoever can open it knows that its
/// owner has gone.
HANDLE OpenMark(const std::wstring& folder, DWORD disposition)
{
    return CreateFileW((folder + kMark).c_str(), GENERIC_READ | GENERIC_WRITE | DELETE, 0, nullptr,
                       disposition, FILE_ATTRIBUTE_HIDDEN | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
}

/// The library's own removal of a whole tree does not come back from a folder that holds what
/// cannot be seen here.
void RemoveTree(const fs::path& folder)
{
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        if (entry.is_directory(error) && !entry.is_symlink(error)) {
            RemoveTree(entry.path());
        } else {
            fs::remove(entry.path(), error);
        }
    }
    RemoveDirectoryW(folder.c_str());
}

fs::path TemporaryFolder()
{
    std::error_code error;
    fs::path folder = fs::temp_directory_path(error);
    if (error) {
        throw BrowserError("There is no folder for temporary files: " + error.message());
    }
    return folder;
}

std::wstring NewFolderPath()
{
    const tvn::ComString unique = tvn::CreateUuidString();
    return (TemporaryFolder() / (kPrefix + std::wstring(tvn::ToView(unique)))).wstring();
}

}  // namespace

ProfileFolder::ProfileFolder() : m_path(NewFolderPath()), m_mark(OpenMark(m_path, CREATE_NEW))
{
    std::error_code error;
    if (!m_mark.IsValid() || !fs::create_directory(m_path, error)) {
        throw BrowserError("The profile folder " + ToUtf8(m_path) + " cannot be made.");
    }
}

ProfileFolder::~ProfileFolder()
{
    Remove(0);
}

bool ProfileFolder::Remove(DWORD timeout)
{
    const tvn::TimeBudget budget(timeout);
    for (;;) {
        RemoveTree(m_path);
        std::error_code error;
        if (!fs::exists(m_path, error)) {
            return true;
        }
        if (budget.Remaining() == 0) {
            tvn::LogError("The profile folder %S cannot be removed", m_path.c_str());
            RemoveOnHost(m_path);
            return false;
        }
        Sleep(kPause);
    }
}

void ProfileFolder::RemoveAbandoned(const std::function<void(const std::wstring& path)>& endBrowser)
{
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(TemporaryFolder(), error)) {
        const std::wstring folder = entry.path().wstring();
        if (entry.path().filename().wstring().rfind(kPrefix, 0) != 0 ||
            !entry.is_directory(error)) {
            continue;
        }
        const tvn::Handle mark(OpenMark(folder, OPEN_ALWAYS));
        if (mark.IsValid()) {
            endBrowser(folder);
            RemoveTree(folder);
            RemoveOnHost(folder);
        }
    }
}

}  // namespace browser
