#pragma once

#include <windows.h>

#include <memory>
#include <string>

namespace tvn
{

/// Reading the registry as the browsers' installers wrote it: always in the 32-bit view, never
/// writing. Names and values are narrow text in the ANSI code page. Nothing fails: what cannot be
/// read is empty. Only running out of memory throws. Used by one thread.

struct RegistryKeyCloser
{
    void operator()(HKEY key) const noexcept { RegCloseKey(key); }
};

/// The owner of an open key, null when it could not be opened.
using RegistryKey = std::unique_ptr<HKEY__, RegistryKeyCloser>;

/// Opens `path` below `root`.
RegistryKey OpenRegistryKey(HKEY root, const char* path) noexcept;

/// A string value of an open key, without expansion; an empty text when there is none.
std::string ReadRegString(HKEY key, const char* valueName);

/// Reads a value of any size. Returns the system's result; on failure the type is 0 and `data`
/// empty.
LONG QueryRegValue(HKEY key, const char* valueName, DWORD& type, std::string& data);

/// `text` with its references to environment variables replaced.
std::string ExpandEnvironment(const std::string& text);

/// `text` without its first and last character when the first is a double quote.
std::string StripQuotes(const std::string& text);

}  // namespace tvn
