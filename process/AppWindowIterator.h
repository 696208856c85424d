#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "basicslib/ComString.h"

namespace tvn
{

/// Lists windows by title, visibility and the executable of their process. A top-level window that
/// matches is listed without its descendants; of one that does not match, the descendants are
/// examined instead. At most 1024 top-level windows, and 1024 descendants of each, are examined.
/// Used by one thread. `First` must come before `Next`.
class CAppWindowIterator
{
  public:
    /// `processName` is the executable's file name and `windowTitle` the whole text of the window,
    /// both compared case-insensitively in the ANSI code page; an empty one matches any. `visible`
    /// is the required state of the window's visible style. Throws when there is no memory.
    CAppWindowIterator(const ComString& processName, const ComString& windowTitle, bool visible);
    virtual ~CAppWindowIterator() = default;

    /// Searches. Returns the first match, or null.
    HWND First();

    /// The next match, null at the end.
    HWND Next();

  private:
    bool Matches(HWND hwnd) const;
    bool MatchTitle(HWND hwnd) const;
    bool MatchVisibility(HWND hwnd) const;
    bool MatchProcess(HWND hwnd) const;

    std::string m_processName;
    std::string m_windowTitle;
    bool m_visible;
    std::vector<HWND> m_found;
    std::size_t m_cursor = 0;
};

}  // namespace tvn
