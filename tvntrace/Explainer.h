#pragma once

#include <string>

#include "tvntrace/TraceLine.h"

namespace tvn::trace
{

/// Says in words what a line tells, with codes by their names and, where something failed, what to
/// do. Empty for a line about a single pipe message; a line that it does not know stays as it is.
std::string Explain(const TraceLine& line);

}  // namespace tvn::trace
