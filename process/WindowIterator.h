#pragma once

#include <windows.h>

#include <memory>

namespace tvn
{

/// A bounded snapshot of the top-level windows, or of the descendants of one window, in the order
/// in which the system enumerates them (top-level windows in Z order, the topmost first). Windows
/// beyond the capacity are dropped. Used by one thread. `First` must come before `Next`.
class CWindowIterator
{
  public:
    /// The top-level windows, at most `capacity` of them.
    explicit CWindowIterator(DWORD capacity) : CWindowIterator(nullptr, capacity) {}

    /// The descendants of `parent`, at most `capacity` of them.
    CWindowIterator(HWND parent, DWORD capacity);

    /// Takes the snapshot. Returns its first window, or null.
    HWND First();

    /// The next window of the snapshot, null at its end.
    HWND Next();

  protected:
    /// Called for every window that the system enumerates: stores it if it is accepted and the
    /// buffer is not full. Always TRUE, so that the enumeration runs to its end.
    virtual BOOL OnEnumWindow(HWND hwnd);

    /// The filter, for derived classes; accepts every window. Must not throw.
    virtual BOOL AcceptWindow(HWND /*hwnd*/) { return TRUE; }

  public:
    virtual ~CWindowIterator() = default;

  private:
    static BOOL CALLBACK EnumProc(HWND hwnd, LPARAM context);

    HWND m_parent;
    std::unique_ptr<HWND[]> m_handles;
    DWORD m_capacity;
    DWORD m_count = 0;
    DWORD m_cursor = 0;
};

}  // namespace tvn
