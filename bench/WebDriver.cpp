#include "bench/WebDriver.h"

#include <boost/asio/connect.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http.hpp>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>

namespace bench
{

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using Json = nlohmann::json;

/// Requests and their answers, one at a time.
class WebDriver::Connection
{
  public:
    explicit Connection(unsigned short port) : m_socket(m_context)
    {
        m_socket.connect({asio::ip::address_v4::loopback(), port});
        m_socket.set_option(asio::ip::tcp::no_delay(true));
    }

    /// The value of the answer.
    Json Ask(http::verb verb, const std::string& target, const Json& body = Json::object())
    {
        http::request<http::string_body> request(verb, target, 11);
        request.set(http::field::host, "localhost");
        request.keep_alive(true);
        if (verb == http::verb::post) {
            request.set(http::field::content_type, "application/json");
            request.body() = body.dump();
        }
        request.prepare_payload();
        http::write(m_socket, request);
        http::response<http::string_body> response;
        http::read(m_socket, m_buffer, response);
        Json value = Json::parse(response.body()).at("value");
        if (response.result() != http::status::ok) {
            throw std::runtime_error("the WebDriver server refuses " + target + ": " +
                                     value.value("message", response.body()));
        }
        return value;
    }

  private:
    asio::io_context m_context;
    asio::ip::tcp::socket m_socket;
    beast::flat_buffer m_buffer;
};

WebDriver::WebDriver(unsigned short port, const std::string& browserArguments)
    : m_connection(std::make_unique<Connection>(port))
{
    Json arguments = Json::array();
    std::istringstream words(browserArguments);
    for (std::string word; words >> word;) {
        arguments.push_back(word);
    }
    const Json session = m_connection->Ask(
        http::verb::post, "/session",
        {{"capabilities", {{"alwaysMatch", {{"goog:chromeOptions", {{"args", arguments}}}}}}}});
    m_session = "/session/" + session.at("sessionId").get<std::string>();
}

WebDriver::~WebDriver()
{
    try {
        m_connection->Ask(http::verb::delete_, m_session);
    } catch (const std::exception&) {
        // The server ends with the run, and its browsers with it.
    }
}

void WebDriver::Go(const std::string& address)
{
    m_connection->Ask(http::verb::post, m_session + "/url", {{"url", address}});
}

std::string WebDriver::Evaluate(const std::string& script)
{
    return m_connection
        ->Ask(http::verb::post, m_session + "/execute/sync",
              {{"script", script}, {"args", Json::array()}})
        .dump();
}

std::string WebDriver::Find(const std::string& selector)
{
    const Json element = m_connection->Ask(http::verb::post, m_session + "/element",
                                           {{"using", "css selector"}, {"value", selector}});
    return m_session + "/element/" + element.begin()->get<std::string>();
}

void WebDriver::Clear(const std::string& element)
{
    m_connection->Ask(http::verb::post, element + "/clear");
}

void WebDriver::Type(const std::string& element, const std::string& text)
{
    m_connection->Ask(http::verb::post, element + "/value", {{"text", text}});
}

void WebDriver::Click(const std::string& element)
{
    m_connection->Ask(http::verb::post, element + "/click");
}

std::string WebDriver::Text(const std::string& element)
{
    return m_connection->Ask(http::verb::get, element + "/text").get<std::string>();
}

}  // namespace bench
