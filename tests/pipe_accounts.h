// Who may open a pipe.
#pragma once

#include <windows.h>

#include <string>

namespace tvn::tests
{

/// The list of the accounts that may open an open pipe, as a text in the system's own form for it,
/// with "own" in the place of a person's account: "D:P(A;;GA;;;own)(A;;GA;;;SY)".
std::string AccountsOf(HANDLE pipe);

}  // namespace tvn::tests
