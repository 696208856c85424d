#pragma once

#include <windows.h>

#include <functional>
#include <string>

#include "basicslib/Handle.h"

namespace browser
{

/// A fresh folder for one browser's profile, removed at the end. Browsers open a debugging port on
/// no profile but one of this kind.
class ProfileFolder
{
  public:
    /// Makes the folder among the user's temporary files. Throws BrowserError.
    ProfileFolder();

    /// Removes it, unless a browser still holds files in it.
    ~ProfileFolder();

    ProfileFolder(const ProfileFolder&) = delete;
    ProfileFolder& operator=(const ProfileFolder&) = delete;

    const std::wstring& Path() const { return m_path; }

    /// Removes the folder, trying again for up to `timeout` milliseconds while files are in use.
    /// True when it is gone.
    bool Remove(DWORD timeout);

    /// Clears away the folders whose owners were ended by force; `endBrowser` is given each one
    /// before, to end a browser that still runs on it.
    static void RemoveAbandoned(const std::function<void(const std::wstring& path)>& endBrowser);

  private:
    std::wstring m_path;
    tvn::Handle m_mark;  ///< of a file beside it that lives as long as its owner
};

}  // namespace browser
