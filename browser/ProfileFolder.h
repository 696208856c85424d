#pragma once

#include <windows.h>

#include <string>

#include "basicslib/Handle.h"

namespace browser
{

/// The folder of one browser's profile, below the user's own data, where nobody else can write: a
/// fresh one, which is removed at the end, or one with a name, which is kept for the next time.
/// Browsers can be driven on no profile but one of this kind.
class ProfileFolder
{
  public:
    /// Takes the kept profile of this name, which is made when there is none, or a fresh one when
    /// the name is empty. Throws BrowserError, also when another instance has it.
    explicit ProfileFolder(const std::wstring& name);

    /// Removes a fresh one, unless a browser still holds files in it.
    ~ProfileFolder();

    ProfileFolder(const ProfileFolder&) = delete;
    ProfileFolder& operator=(const ProfileFolder&) = delete;

    const std::wstring& Path() const { return m_path; }
    bool IsKept() const { return m_isKept; }

    /// Removes a fresh folder, trying again for up to `timeout` milliseconds while files are in
    /// use. True when it is gone, or kept.
    bool Remove(DWORD timeout);

    /// Clears away the fresh folders whose owners were ended by force, and ends the browsers of the
    /// machine below Wine that still run on them; Windows ends those of its own with their
    /// instances. Slow only where there are some.
    static void RemoveAbandoned();

  private:
    const bool m_isKept;
    const std::wstring m_path;
    tvn::Handle m_mark;  ///< of a file beside it that exists as long as its owner
    bool m_isRemoved = false;
};

}  // namespace browser
