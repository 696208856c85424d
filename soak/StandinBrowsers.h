#pragma once

namespace soak
{

/// Starts a stand-in browser of this name ("talvern", "firefox", "iexplore") that nobody has
/// attached to, and waits until it can be found. Throws std::runtime_error.
void StartFreeBrowser(const char* name);

/// Ends every stand-in browser that runs, and waits for their ends.
void EndBrowsers();

/// What the stand-in browsers that are started from here on do wrong; a null pointer for nothing.
void SetBrowserFault(const char* word);

}  // namespace soak
