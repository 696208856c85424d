// The only file that includes Beast, because that takes long to compile.

#include "browser/WebSocket.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/websocket.hpp>
#include <chrono>
#include <future>
#include <utility>

#include "browser/AsioLink.h"
#include "browser/BrowserError.h"

namespace browser
{
namespace
{

namespace asio = boost::asio;
namespace beast = boost::beast;
using boost::system::error_code;

class WebSocket : public AsioLink
{
  public:
    WebSocket(OnMessage onMessage, OnEnd onEnd)
        : AsioLink(std::move(onMessage), std::move(onEnd)), m_stream(m_context)
    {}

    ~WebSocket() override { Stop(); }
    WebSocket(const WebSocket&) = delete;
    WebSocket& operator=(const WebSocket&) = delete;

    void Connect(unsigned short port, const std::string& path, DWORD timeout)
    {
        const asio::ip::tcp::endpoint endpoint(asio::ip::address_v4::loopback(), port);
        const std::string host = "127.0.0.1:" + std::to_string(port);
        auto connected = m_connected.get_future();
        beast::get_lowest_layer(m_stream).expires_after(std::chrono::milliseconds(timeout));
        beast::get_lowest_layer(m_stream).async_connect(endpoint, [=, this](error_code error) {
            if (error) {
                m_connected.set_value(error);
                return;
            }
            beast::get_lowest_layer(m_stream).socket().set_option(asio::ip::tcp::no_delay(true));
            m_stream.read_message_max(kLongestMessage);
            m_stream.async_handshake(host, path, [this](error_code outcome) {
                beast::get_lowest_layer(m_stream).expires_never();
                m_connected.set_value(outcome);
                if (!outcome) {
                    Read();
                }
            });
        });
        Run();
        const error_code error = connected.get();
        if (error) {
            throw BrowserError("There is no connection to the browser at " + host + ": " +
                               error.message());
        }
    }

  private:
    void Read()
    {
        m_stream.async_read(m_buffer, [this](error_code error, std::size_t) {
            if (error) {
                m_onEnd(error.message());
                return;
            }
            const auto bytes = m_buffer.data();
            m_onMessage(std::string(static_cast<const char*>(bytes.data()), bytes.size()));
            m_buffer.consume(bytes.size());
            Read();
        });
    }

    void Write(const std::string& text) override
    {
        m_stream.async_write(asio::buffer(text),
                             [this](error_code error, std::size_t) { Written(error); });
    }

    void Close() override
    {
        // No closing handshake: whoever ends the browser has told it so already.
        error_code ignored;
        beast::get_lowest_layer(m_stream).socket().close(ignored);
    }

    beast::websocket::stream<beast::tcp_stream> m_stream;
    beast::flat_buffer m_buffer;
    std::promise<error_code> m_connected;
};

}  // namespace

std::unique_ptr<Link> ConnectWebSocket(unsigned short port, const std::string& path, DWORD timeout,
                                       Link::OnMessage onMessage, Link::OnEnd onEnd)
{
    auto link = std::make_unique<WebSocket>(std::move(onMessage), std::move(onEnd));
    link->Connect(port, path, timeout);
    return link;
}

}  // namespace browser
