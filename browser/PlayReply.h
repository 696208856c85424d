#pragma once

#include <exception>
#include <string>

#include "browser/MacroPage.h"

namespace browser
{

/// The answer to a play.
struct PlayReply
{
    int status;
    std::wstring text;
};

/// What a play is answered with: "message (line N)", the mark of errors, and the pieces. Where a
/// text of the macro or a page contains that mark itself, a blank is put into it.
std::wstring ReplyText(const MacroPage::Outcome& outcome);

/// The same for an error that comes from outside the macro.
std::wstring ReplyText(const std::exception& error);

}  // namespace browser
