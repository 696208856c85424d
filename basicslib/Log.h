#pragma once

namespace tvn
{

/// The three log functions write one line each to the Windows debug output: the level's tag, then
/// the formatted text (see FormatText.h for the formats), cut to 1023 characters, without a line
/// end. They take no lock, allocate nothing and never throw; lines of different threads do not mix.

/// Traces of pipe, process, window and registry work, and of the module entry.
void LogDebug(const char* format, ...) noexcept __attribute__((format(printf, 1, 2)));

/// Failures: the first lines to read when investigating a problem.
void LogError(const char* format, ...) noexcept __attribute__((format(printf, 1, 2)));

/// The scripting object's trace of each client call; the texts begin with "[C] ".
void LogProtocol(const char* format, ...) noexcept __attribute__((format(printf, 1, 2)));

}  // namespace tvn
