// All that includes Beast, because it takes its time to compile.

#include "browser/WebSocket.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/websocket.hpp>
#include <chrono>
#include <deque>
#include <future>
#include <thread>
#include <utility>

#include "browser/BrowserError.h"

namespace browser
{

namespace asio = boost::asio;
namespace beast = boost::beast;
using boost::system::error_code;

class WebSocket::Io
{
  public:
    Io(OnMessage onMessage, OnEnd onEnd)
        : m_onMessage(std::move(onMessage)), m_onEnd(std::move(onEnd)), m_stream(m_context)
    {}

    ~Io()
    {
        asio::post(m_context, [this] { Close(); });
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }
    Io(const Io&) = delete;
    Io& operator=(const Io&) = delete;

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
        m_thread = std::thread([this] { m_context.run(); });
        const error_code error = connected.get();
        if (error) {
            throw BrowserError("There is no connection to the browser at " + host + ": " +
                               error.message());
        }
    }

    void Send(std::string text)
    {
        asio::post(m_context, [this, text = std::move(text)]() mutable {
            m_queue.push_back(std::move(text));
            if (m_queue.size() == 1) {
                Write();
            }
        });
    }

  private:
    /// A page that is drawn as a whole can be large.
    static constexpr std::size_t kLongestMessage = std::size_t{256} << 20;

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

    void Write()
    {
        m_stream.async_write(asio::buffer(m_queue.front()), [this](error_code error, std::size_t) {
            m_queue.pop_front();
            if (!error && !m_queue.empty()) {
                Write();
            }
        });
    }

    void Close()
    {
        // There is nothing to say goodbye for: whoever ends the browser has told it so already.
        error_code ignored;
        beast::get_lowest_layer(m_stream).socket().close(ignored);
    }

    OnMessage m_onMessage;
    OnEnd m_onEnd;
    asio::io_context m_context{1};
    beast::websocket::stream<beast::tcp_stream> m_stream;
    beast::flat_buffer m_buffer;
    std::deque<std::string> m_queue;
    std::promise<error_code> m_connected;
    std::thread m_thread;
};

WebSocket::WebSocket(unsigned short port, const std::string& path, DWORD timeout,
                     OnMessage onMessage, OnEnd onEnd)
    : m_io(std::make_unique<Io>(std::move(onMessage), std::move(onEnd)))
{
    m_io->Connect(port, path, timeout);
}

WebSocket::~WebSocket() = default;

void WebSocket::Send(std::string text)
{
    m_io->Send(std::move(text));
}

}  // namespace browser
