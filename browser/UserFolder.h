#pragma once

#include <string>

namespace browser
{

/// The folder "Talvern" among this user's own data, which only the user, the system and its
/// administrators can write. It need not be there. Throws BrowserError when the user has no place
/// for data. Asked for once, because the system takes longer for it than a short macro.
const std::wstring& UserFolder();

}  // namespace browser
