#include "bench/BareClient.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>

#include "basicslib/InstanceProtocol.h"
#include "bench/Measure.h"

namespace bench
{
namespace
{

constexpr DWORD kTimeout = 600000;
constexpr std::size_t kHead = 4 * sizeof(DWORD);

__attribute__((format(printf, 1, 2))) void Trace(const char* format, ...)
{
    char line[1024];
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    OutputDebugStringA(line);
}

HANDLE Open(const std::string& name)
{
    HANDLE pipe = CreateFileA(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                              FILE_FLAG_OVERLAPPED, nullptr);
    DWORD mode = PIPE_READMODE_MESSAGE;
    Require(SetNamedPipeHandleState(pipe, &mode, nullptr, nullptr) != FALSE,
            "the peer's pipe cannot be opened");
    return pipe;
}

std::vector<unsigned char> Request(const std::wstring& macro)
{
    std::vector<unsigned char> bytes(2 * sizeof(DWORD));
    const std::wstring argument = L" " + std::wstring(tvn::kMacroSwitch) + L" " + macro + L" ";
    for (const std::wstring& text : {std::wstring(tvn::kCommandPlay), argument}) {
        const auto size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
        const auto at = bytes.size();
        bytes.resize(at + sizeof size + size);
        std::memcpy(bytes.data() + at, &size, sizeof size);
        std::memcpy(bytes.data() + at + sizeof size, text.data(), size);
    }
    const auto size = static_cast<DWORD>(bytes.size());
    std::memcpy(bytes.data(), &size, sizeof size);
    return bytes;
}

}  // namespace

BareClient::BareClient(const std::string& pipeName, const std::wstring& macro)
    : m_pipe(Open(pipeName)),
      m_event(CreateEventA(nullptr, TRUE, FALSE, nullptr)),
      m_request(Request(macro)),
      m_reply(kHead + std::wcstoul(macro.c_str(), nullptr, 10))
{}

void BareClient::Play()
{
    Trace("[tvn::HI_LEVEL_PROTOCOL] [C] CApp::tvnPlay(command = %S)", L"");
    Write();
    DWORD size = 0;
    Read(reinterpret_cast<unsigned char*>(&size), sizeof size);
    Require(size <= m_reply.size(), "a reply is longer than it should be");
    m_replySize = sizeof size + Read(m_reply.data() + sizeof size, size);
    Trace("[tvn::HI_LEVEL_PROTOCOL] [C] %d = CApp::tvnPlay", 1);
}

void BareClient::Write()
{
    DWORD& id = *reinterpret_cast<DWORD*>(m_request.data() + sizeof(DWORD));
    ++id;
    DWORD written = 0;
    const auto count = static_cast<DWORD>(m_request.size());
    Require(WriteFile(m_pipe.Get(), m_request.data(), count, &written, nullptr) != FALSE,
            "the peer's pipe cannot be written to");
    Trace("[tvn::debug] [BaseProtocol::WritePipe] cbBuf = %x, cbWritten = %x ",
          static_cast<unsigned int>(count), static_cast<unsigned int>(written));
}

DWORD BareClient::Read(unsigned char* buffer, DWORD count)
{
    HANDLE duplicate = nullptr;
    DuplicateHandle(GetCurrentProcess(), m_pipe.Get(), GetCurrentProcess(), &duplicate, 0, TRUE,
                    DUPLICATE_SAME_ACCESS);
    OVERLAPPED overlapped = {};
    overlapped.hEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    BOOL success = ReadFile(m_pipe.Get(), nullptr, 0, nullptr, &overlapped);
    // A message that is there already ends the read of no bytes at once.
    if (!success && GetLastError() == ERROR_IO_PENDING) {
        MsgWaitForMultipleObjects(1, &overlapped.hEvent, FALSE, kTimeout, QS_ALLINPUT);
    }
    DWORD bytes = 0;
    success = ReadFile(m_pipe.Get(), buffer, count, &bytes, &overlapped);
    if (!success && GetLastError() == ERROR_MORE_DATA) {
        success = TRUE;
        bytes = count;
    }
    Trace("[tvn::debug] [BaseProtocol::ReadPipe] fSuccess = %x, cbBuf = %x, cbBytesRead = %x",
          static_cast<unsigned int>(success), static_cast<unsigned int>(count),
          static_cast<unsigned int>(bytes));
    CancelIo(duplicate);
    CloseHandle(duplicate);
    CloseHandle(overlapped.hEvent);
    Require(success != FALSE, "the peer's pipe cannot be read from");
    return bytes;
}

void BareClient::WritePlain()
{
    DWORD written = 0;
    Require(WriteFile(m_pipe.Get(), m_request.data(), static_cast<DWORD>(m_request.size()),
                      &written, nullptr) != FALSE,
            "the peer's pipe cannot be written to");
}

DWORD BareClient::ReadPlain(unsigned char* buffer, DWORD count)
{
    OVERLAPPED overlapped = {};
    overlapped.hEvent = m_event.Get();
    DWORD bytes = 0;
    const bool success = ReadFile(m_pipe.Get(), buffer, count, nullptr, &overlapped) ||
                         GetLastError() == ERROR_IO_PENDING || GetLastError() == ERROR_MORE_DATA;
    GetOverlappedResult(m_pipe.Get(), &overlapped, &bytes, TRUE);
    Require(success, "the peer's pipe cannot be read from");
    return bytes;
}

void BareClient::Transfer()
{
    WritePlain();
    m_replySize = ReadPlain(m_reply.data(), static_cast<DWORD>(m_reply.size()));
    Require(m_replySize == m_reply.size(), "the peer does not answer as it should");
}

void BareClient::TransferLengthFirst()
{
    WritePlain();
    DWORD size = 0;
    ReadPlain(reinterpret_cast<unsigned char*>(&size), sizeof size);
    Require(size == m_reply.size(), "the peer does not answer as it should");
    const auto room = std::make_unique_for_overwrite<unsigned char[]>(size);
    m_replySize = sizeof size + ReadPlain(room.get(), size);
}

}  // namespace bench
