// Who may open a pipe.
#pragma once

#include <windows.h>

#include <string>

namespace tvn::tests
{

/// The accounts in the list of an open pipe, with their rights in hexadecimal digits: "own
/// 10000000, everyone c0000000".
std::string AccountsOf(HANDLE pipe);

}  // namespace tvn::tests
