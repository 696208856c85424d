#include "bench/BareClient.h"

#include <cstring>
#include <memory>

#include "basicslib/InstanceProtocol.h"
#include "bench/Measure.h"

namespace bench
{
namespace
{

constexpr std::size_t kHead = 4 * sizeof(DWORD);

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

void BareClient::Write()
{
    DWORD written = 0;
    Require(WriteFile(m_pipe.Get(), m_request.data(), static_cast<DWORD>(m_request.size()),
                      &written, nullptr) != FALSE,
            "the peer's pipe cannot be written to");
}

DWORD BareClient::Read(unsigned char* buffer, DWORD count)
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
    Write();
    const DWORD size = Read(m_reply.data(), static_cast<DWORD>(m_reply.size()));
    Require(size == m_reply.size(), "the peer does not answer as it should");
}

void BareClient::TransferLengthFirst()
{
    Write();
    DWORD size = 0;
    Read(reinterpret_cast<unsigned char*>(&size), sizeof size);
    Require(size == m_reply.size(), "the peer does not answer as it should");
    const auto room = std::make_unique_for_overwrite<unsigned char[]>(size);
    Read(room.get(), size);
}

}  // namespace bench
