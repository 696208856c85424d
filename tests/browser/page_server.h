// Serves the pages of the browser's tests on the loopback.
#pragma once

#include <string>

namespace tvn::tests
{

/// Serves the files of the folder pages/ for as long as the process lives, and four paths that are
/// none of them: "/hang" is never answered, "/redirect" leads to "second.html", "/slow" is the same
/// page half a second later, and "/prices.csv" is a file to download. Gives its address, such as
/// "http://127.0.0.1:4711".
std::string ServePages();

}  // namespace tvn::tests
