#pragma once

#include <string_view>

#include "basicslib/StatusCode.h"
#include "pipeutils/MessageBuffer.h"

namespace tvn
{

/// What became of a command: the instance's answer, or the status of a failure without a text.
struct CommandReply
{
    int status = sFail;
    std::wstring_view text;  ///< a part of `message`, valid as long as that is held
    MessageBuffer message;
};

}  // namespace tvn
