#include "process/WindowIterator.h"

namespace tvn
{

CWindowIterator::CWindowIterator(HWND parent, DWORD capacity)
    : m_parent(parent),
      m_handles(std::make_unique_for_overwrite<HWND[]>(capacity)),
      m_capacity(capacity)
{}

HWND CWindowIterator::First()
{
    const auto context = reinterpret_cast<LPARAM>(this);
    m_count = 0;
    if (m_parent == nullptr) {
        EnumWindows(&EnumProc, context);
    } else {
        EnumChildWindows(m_parent, &EnumProc, context);
    }
    m_cursor = 0;
    return Next();
}

HWND CWindowIterator::Next()
{
    return m_cursor < m_count ? m_handles[m_cursor++] : nullptr;
}

BOOL CWindowIterator::OnEnumWindow(HWND hwnd)
{
    if (AcceptWindow(hwnd) && m_count < m_capacity) {
        m_handles[m_count++] = hwnd;
    }
    return TRUE;
}

BOOL CALLBACK CWindowIterator::EnumProc(HWND hwnd, LPARAM context)
{
    return reinterpret_cast<CWindowIterator*>(context)->OnEnumWindow(hwnd);
}

}  // namespace tvn
