#include "browser/InheritedHandles.h"

#include <string>
#include <utility>

#include "browser/BrowserError.h"

namespace browser
{

InheritedHandles::InheritedHandles(HANDLE input, HANDLE output, std::vector<HANDLE> others)
    : m_handles(std::move(others))
{
    m_handles.insert(m_handles.end(), {input, output});
    m_startup.StartupInfo.cb = sizeof m_startup;
    m_startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    m_startup.StartupInfo.hStdInput = input;
    m_startup.StartupInfo.hStdOutput = output;
    m_startup.StartupInfo.hStdError = output;
    SIZE_T size = 0;
    InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
    m_memory = std::make_unique<char[]>(size);
    auto* const list = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(m_memory.get());
    if (!InitializeProcThreadAttributeList(list, 1, 0, &size)) {
        throw BrowserError("The list of handles that a browser inherits cannot be made (error " +
                           std::to_string(GetLastError()) + ").");
    }
    m_startup.lpAttributeList = list;
    if (!UpdateProcThreadAttribute(list, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, m_handles.data(),
                                   m_handles.size() * sizeof(HANDLE), nullptr, nullptr)) {
        const DWORD error = GetLastError();
        DeleteProcThreadAttributeList(list);
        throw BrowserError("The browser cannot be given its handles (error " +
                           std::to_string(error) + ").");
    }
}

InheritedHandles::~InheritedHandles()
{
    DeleteProcThreadAttributeList(m_startup.lpAttributeList);
}

}  // namespace browser
