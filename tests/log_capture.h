// The lines that this process writes to the debug output.
#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

namespace tvn::tests
{

/// What every line of a level begins with.
inline const std::string kDebug = "[tvn::debug] ";
inline const std::string kError = "[................tvn::error] ";
inline const std::string kTrace = "[tvn::HI_LEVEL_PROTOCOL] [C] ";

/// Sees every line that this process writes to the Windows debug output, from construction to
/// destruction. One at a time.
class LogCapture
{
  public:
    LogCapture();

    /// The lines seen so far that begin with `start`.
    std::vector<std::string> Lines(const std::string& start = "") const;

    /// How often exactly this line has been seen.
    std::ptrdiff_t Count(const std::string& line) const;

  private:
    std::shared_ptr<void> m_handler;
};

}  // namespace tvn::tests
