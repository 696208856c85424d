#pragma once

#include <windows.h>

#include <algorithm>
#include <string>
#include <vector>

namespace tests
{

/// Sees every line that this process writes to the Windows debug output, from construction to
/// destruction. One at a time.
class LogCapture
{
  public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<std::string> Lines() const;

    bool Has(const std::string& line) const { return Count(line) > 0; }
    std::ptrdiff_t Count(const std::string& line) const
    {
        const auto lines = Lines();
        return std::count(lines.begin(), lines.end(), line);
    }

    /// The lines that begin with `start`.
    std::vector<std::string> Starting(const std::string& start) const;

  private:
    void* m_handler;
};

}  // namespace tests
