#pragma once

#include <string>

namespace instance
{

/// What an instance is told at its start, on the command line of the own browser ("/pipeUuid=...")
/// or in the start page's URL of another browser ("&pipeUuid=...").
struct InstanceArguments
{
    /// A script's own text comes first and may contain the same names: the last of each name
    /// counts.
    explicit InstanceArguments(const std::wstring& commandLine);

    std::wstring pipeUuid;      ///< names the callback pipe, empty when nobody waits
    std::wstring creatorUuid;   ///< who the instance is reserved for, empty for nobody
    bool authorizeAll = false;  ///< other accounts may use the instance
};

}  // namespace instance
