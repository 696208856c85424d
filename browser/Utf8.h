#pragma once

#include <string>
#include <string_view>

namespace browser
{

/// The browser speaks UTF-8, everything else here UTF-16. What is no valid text in the one becomes
/// the replacement character in the other. Throws std::bad_alloc.
std::string ToUtf8(std::wstring_view text);
std::wstring FromUtf8(std::string_view text);

}  // namespace browser
