#include "tvntrace/DebugBuffer.h"

#include <sddl.h>

#include <array>
#include <cstring>

#include "tvntrace/TraceError.h"

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

/// Grants everything to everybody, down to programs of low integrity: browsers under another
/// account or in a box of their own write here too.
boost::shared_ptr<void> OpenToAll()
{
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(
            L"D:(A;;GA;;;WD)S:(ML;;NW;;;LW)", SDDL_REVISION_1, &descriptor, nullptr)) {
        throw TraceError("the access rights of the debug-output buffer cannot be made",
                         GetLastError());
    }
    return {descriptor, &LocalFree};
}

[[noreturn]] void ThrowRefused(DWORD error)
{
    throw TraceError(
        "the debug-output buffer cannot be made; a viewer that runs as another user may hold it",
        error);
}

/// An event that was not there before; none when it was.
boost::shared_ptr<Handle> NewEvent(const wchar_t* name, SECURITY_ATTRIBUTES& attributes)
{
    auto event = ShareHandle(CreateEventW(&attributes, FALSE, FALSE, name));
    const DWORD error = GetLastError();
    if (!event->IsValid()) {
        ThrowRefused(error);
    }
    if (error == ERROR_ALREADY_EXISTS) {
        event.reset();
    }
    return event;
}

/// A program that writes a line has the events open for that moment, so one that is there need not
/// mean a viewer yet.
boost::shared_ptr<Handle> NewEventOfOnlyViewer(const wchar_t* name, SECURITY_ATTRIBUTES& attributes)
{
    constexpr int kTries = 10;
    for (int tries = 0; tries < kTries; ++tries) {
        if (auto event = NewEvent(name, attributes)) {
            return event;
        }
        Sleep(100);
    }
    throw TraceError(
        "another viewer of the debug output runs and holds the shared buffer; close it, or name "
        "the "
        "command to trace, which needs no buffer");
}

}  // namespace

DebugBuffer::DebugBuffer()
{
    const boost::shared_ptr<void> descriptor = OpenToAll();
    SECURITY_ATTRIBUTES attributes = {sizeof attributes, descriptor.get(), FALSE};
    m_free = NewEventOfOnlyViewer(L"DBWIN_BUFFER_READY", attributes);
    m_written = NewEventOfOnlyViewer(L"DBWIN_DATA_READY", attributes);
    m_mapping = ShareHandle(CreateFileMappingW(INVALID_HANDLE_VALUE, &attributes, PAGE_READWRITE, 0,
                                               sizeof(Contents), L"DBWIN_BUFFER"));
    const void* const view = m_mapping->IsValid() ? MapViewOfFile(m_mapping->Get(), FILE_MAP_READ,
                                                                  0, 0, sizeof(Contents))
                                                  : nullptr;
    if (view == nullptr) {
        ThrowRefused(GetLastError());
    }
    m_view.reset(view, &UnmapViewOfFile);
    SetEvent(m_free->Get());
}

std::optional<TraceLine> DebugBuffer::Read(HANDLE stop) const
{
    const std::array<HANDLE, 2> events = {stop, m_written->Get()};
    if (WaitForMultipleObjects(2, events.data(), FALSE, INFINITE) != WAIT_OBJECT_0 + 1) {
        return {};
    }
    return Take();
}

std::optional<TraceLine> DebugBuffer::ReadLast() const
{
    if (WaitForSingleObject(m_written->Get(), 0) != WAIT_OBJECT_0) {
        return {};
    }
    return Take();
}

TraceLine DebugBuffer::Take() const
{
    Contents contents = {};
    std::memcpy(&contents, m_view.get(), sizeof contents);
    SetEvent(m_free->Get());
    return ReadTraceLine(
        contents.pid, {contents.text.data(), strnlen(contents.text.data(), contents.text.size())});
}

}  // namespace tvn::trace
