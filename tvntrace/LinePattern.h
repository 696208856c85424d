#pragma once

#include <string_view>
#include <vector>

namespace tvn::trace
{

/// Matches a whole line against a pattern of plain text in which each `*` stands for any text, as
/// short as the rest allows. Gives what the stars stand for, as views into `text`, in `captures`,
/// whose former content goes.
bool MatchLine(std::string_view pattern, std::string_view text,
               std::vector<std::string_view>& captures);

}  // namespace tvn::trace
