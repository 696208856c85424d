#include "process/AppWindowIterator.h"

#include <mbstring.h>

#include <iterator>

#include "basicslib/Handle.h"
#include "process/ProcessFileName.h"
#include "process/WindowIterator.h"

namespace tvn
{
namespace
{

constexpr DWORD kCapacity = 1024;

std::string LowerCase(std::string text)
{
    _mbslwr(reinterpret_cast<unsigned char*>(text.data()));
    return text;
}

/// The text that the system stores for a window. Asking the window itself would take several calls
/// and could deadlock: a window of this process answers only when its thread is not busy, and that
/// thread may be waiting for this one. Truncation does no harm: no title that is searched for is
/// that long.
std::string WindowText(HWND hwnd)
{
    wchar_t text[512];
    const int units = InternalGetWindowText(hwnd, text, static_cast<int>(std::size(text)));
    return ToNarrow(std::wstring_view(text, static_cast<std::size_t>(units)));
}

}  // namespace

CAppWindowIterator::CAppWindowIterator(const ComString& processName, const ComString& windowTitle,
                                       bool visible)
    : m_processName(LowerCase(ToNarrow(ToView(processName)))),
      m_windowTitle(LowerCase(ToNarrow(ToView(windowTitle)))),
      m_visible(visible)
{}

HWND CAppWindowIterator::First()
{
    m_found.clear();
    CWindowIterator topLevel(kCapacity);
    for (HWND window = topLevel.First(); window != nullptr; window = topLevel.Next()) {
        if (Matches(window)) {
            m_found.push_back(window);
            continue;
        }
        CWindowIterator descendants(window, kCapacity);
        for (HWND child = descendants.First(); child != nullptr; child = descendants.Next()) {
            if (Matches(child)) {
                m_found.push_back(child);
            }
        }
    }
    m_cursor = 0;
    return Next();
}

HWND CAppWindowIterator::Next()
{
    return m_cursor < m_found.size() ? m_found[m_cursor++] : nullptr;
}

bool CAppWindowIterator::Matches(HWND hwnd) const
{
    return MatchTitle(hwnd) && MatchVisibility(hwnd) && MatchProcess(hwnd);
}

bool CAppWindowIterator::MatchTitle(HWND hwnd) const
{
    return m_windowTitle.empty() || LowerCase(WindowText(hwnd)) == m_windowTitle;
}

bool CAppWindowIterator::MatchVisibility(HWND hwnd) const
{
    return ((GetWindowLongA(hwnd, GWL_STYLE) & WS_VISIBLE) != 0) == m_visible;
}

bool CAppWindowIterator::MatchProcess(HWND hwnd) const
{
    DWORD pid = 0;
    GetWindowThreadProcessId(hwnd, &pid);
    const Handle process(OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, pid));
    if (!process.IsValid()) {
        return false;
    }
    const ComString fileName = GetProcessFileName(process.Get());
    return m_processName.empty() || LowerCase(ToNarrow(ToView(fileName))) == m_processName;
}

}  // namespace tvn
