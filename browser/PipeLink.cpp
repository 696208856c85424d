#include "browser/PipeLink.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/windows/stream_handle.hpp>
#include <boost/asio/write.hpp>
#include <string>
#include <utility>

#include "basicslib/ComString.h"
#include "basicslib/Handle.h"
#include "browser/AsioLink.h"
#include "browser/BrowserError.h"
#include "pipeutils/PipeNames.h"

namespace browser
{
namespace
{

namespace asio = boost::asio;
using boost::system::error_code;

constexpr DWORD kBufferSize = 64 * 1024;

[[noreturn]] void ThrowNoPipe()
{
    throw BrowserError("The pipes to the browser cannot be made (error " +
                       std::to_string(GetLastError()) + ").");
}

std::wstring NewName()
{
    const tvn::ComString unique = tvn::CreateUuidString();
    return L"\\\\.\\pipe\\TalvernBrowser_" + std::wstring(tvn::ToView(unique));
}

/// This program's end of a pipe. It is not one of the system's anonymous pipes, which have names,
/// too, because their reads could not be cancelled. The pipe accepts one client: if another program
/// connects before NewBrowserEnd does, NewBrowserEnd fails, and no browser is started.
HANDLE NewEnd(const std::wstring& name, DWORD direction)
{
    HANDLE pipe = CreateNamedPipeW(name.c_str(),
                                   direction | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
                                   PIPE_TYPE_BYTE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS, 1,
                                   kBufferSize, kBufferSize, 0, nullptr);
    if (!tvn::Handle::IsValid(pipe)) {
        ThrowNoPipe();
    }
    return pipe;
}

HANDLE NewBrowserEnd(const std::wstring& name, DWORD access)
{
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    HANDLE pipe = CreateFileW(name.c_str(), access, 0, &inherited, OPEN_EXISTING, 0, nullptr);
    if (!tvn::Handle::IsValid(pipe)) {
        ThrowNoPipe();
    }
    return pipe;
}

class PipeLink : public AsioLink
{
  public:
    PipeLink(OnMessage onMessage, OnEnd onEnd)
        : AsioLink(std::move(onMessage), std::move(onEnd)),
          m_toBrowser(m_context, NewEnd(m_input, PIPE_ACCESS_OUTBOUND)),
          m_fromBrowser(m_context, NewEnd(m_output, PIPE_ACCESS_INBOUND))
    {}

    ~PipeLink() override { Stop(); }
    PipeLink(const PipeLink&) = delete;
    PipeLink& operator=(const PipeLink&) = delete;

    void Start(const std::function<void(HANDLE input, HANDLE output)>& start)
    {
        {
            const tvn::Handle input(NewBrowserEnd(m_input, GENERIC_READ));
            const tvn::Handle output(NewBrowserEnd(m_output, GENERIC_WRITE));
            start(input.Get(), output.Get());
        }
        Read();
        Run();
    }

  private:
    void Read()
    {
        asio::async_read_until(m_fromBrowser, asio::dynamic_buffer(m_text, kLongestMessage), '\0',
                               [this](error_code error, std::size_t size) {
                                   if (error) {
                                       m_onEnd(error.message());
                                       return;
                                   }
                                   m_onMessage(m_text.substr(0, size - 1));
                                   m_text.erase(0, size);
                                   Read();
                               });
    }

    void Write(const std::string& text) override
    {
        asio::async_write(m_toBrowser, asio::buffer(text.c_str(), text.size() + 1),
                          [this](error_code error, std::size_t) { Written(error); });
    }

    void Close() override
    {
        error_code ignored;
        m_toBrowser.close(ignored);
        m_fromBrowser.close(ignored);
    }

    const std::wstring m_input = NewName();
    const std::wstring m_output = NewName();
    asio::windows::stream_handle m_toBrowser;
    asio::windows::stream_handle m_fromBrowser;
    std::string m_text;  ///< read, and not yet handed on
};

}  // namespace

std::unique_ptr<Link> OpenPipeLink(const std::function<void(HANDLE input, HANDLE output)>& start,
                                   Link::OnMessage onMessage, Link::OnEnd onEnd)
{
    auto link = std::make_unique<PipeLink>(std::move(onMessage), std::move(onEnd));
    link->Start(start);
    return link;
}

}  // namespace browser
