#include "tvntrace/DebugBuffer.h"

#include <sddl.h>

#include <array>
#include <boost/system/system_error.hpp>
#include <cstring>

namespace tvn::trace
{
namespace
{

/// What the system lays out in the buffer.
struct Contents
{
    DWORD pid;
    std::array<char, 4092> text;  ///< ends with a zero
};

[[noreturn]] void ThrowRefused()
{
    throw boost::system::system_error(
        static_cast<int>(GetLastError()), boost::system::system_category(),
        "the debug-output buffer cannot be made; a viewer that runs as another user may hold it");
}

/// An event of the only reader. A program that writes a line has the events open for that moment,
/// so one that is there need not mean another viewer yet.
boost::shared_ptr<Handle> MakeEvent(const wchar_t* name, SECURITY_ATTRIBUTES& attributes)
{
    constexpr int kTries = 10;
    for (int tries = 0; tries < kTries; ++tries) {
        auto event = boost::make_shared<Handle>(
            [&] { return CreateEventW(&attributes, FALSE, FALSE, name); });
        if (!event->IsValid()) {
            ThrowRefused();
        }
        if (GetLastError() != ERROR_ALREADY_EXISTS) {
            return event;
        }
        event.reset();
        Sleep(100);
    }
    throw std::runtime_error(
        "another viewer of the debug output is running, and there can be only one; close it first");
}

}  // namespace

DebugBuffer::DebugBuffer()
{
    // Browsers under another account, or with a low integrity level, write here too.
    PSECURITY_DESCRIPTOR openToAll = nullptr;
    ConvertStringSecurityDescriptorToSecurityDescriptorW(L"D:(A;;GA;;;WD)S:(ML;;NW;;;LW)",
                                                         SDDL_REVISION_1, &openToAll, nullptr);
    const boost::shared_ptr<void> descriptor(openToAll, &LocalFree);
    SECURITY_ATTRIBUTES attributes = {sizeof attributes, openToAll, FALSE};
    m_free = MakeEvent(L"DBWIN_BUFFER_READY", attributes);
    m_written = MakeEvent(L"DBWIN_DATA_READY", attributes);
    m_mapping = boost::make_shared<Handle>([&] {
        return CreateFileMappingW(INVALID_HANDLE_VALUE, &attributes, PAGE_READWRITE, 0,
                                  sizeof(Contents), L"DBWIN_BUFFER");
    });
    m_view.reset(MapViewOfFile(m_mapping->Get(), FILE_MAP_READ, 0, 0, sizeof(Contents)),
                 &UnmapViewOfFile);
    if (m_view == nullptr) {
        ThrowRefused();
    }
    SetEvent(m_free->Get());
}

std::optional<TraceLine> DebugBuffer::Read(HANDLE end)
{
    const std::array<HANDLE, 2> events = {end, m_written->Get()};
    if (WaitForMultipleObjects(2, events.data(), FALSE, INFINITE) != WAIT_OBJECT_0 + 1) {
        m_last = m_last == 0 ? GetTickCount64() + 500 : m_last;
        if (GetTickCount64() > m_last ||
            WaitForSingleObject(m_written->Get(), 100) != WAIT_OBJECT_0) {
            return {};
        }
    }
    Contents contents = {};
    std::memcpy(&contents, m_view.get(), sizeof contents);
    SetEvent(m_free->Get());
    return ReadTraceLine(
        contents.pid, {contents.text.data(), strnlen(contents.text.data(), contents.text.size())});
}

}  // namespace tvn::trace
