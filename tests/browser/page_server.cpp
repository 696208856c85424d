#include "tests/browser/page_server.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <fstream>
#include <memory>
#include <sstream>

#include "instance/RunApart.h"

namespace tvn::tests
{

using boost::asio::ip::tcp;

static std::string Response(const std::string& status, const std::string& headers,
                            const std::string& body)
{
    return "HTTP/1.1 " + status + "\r\nContent-Type: text/html; charset=utf-8\r\n" + headers +
           "Connection: close\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" +
           body;
}

static std::string Answer(std::string path)
{
    if (path == "/hang") {
        Sleep(INFINITE);
    }
    if (path == "/redirect") {
        return Response("302 Found", "Location: /second.html\r\n", "");
    }
    if (path == "/slow") {
        Sleep(500);
        path = "/second.html";
    }
    if (path == "/secret") {
        return Response("401 Unauthorized", "WWW-Authenticate: Basic realm=\"x\"\r\n", "");
    }
    if (path == "/prices.csv") {
        return Response("200 OK", "Content-Disposition: attachment\r\n", "Single;80");
    }
    std::ifstream file(PAGES_FOLDER + path, std::ios::binary);
    std::ostringstream body;
    body << file.rdbuf();
    return file ? Response("200 OK", "", body.str()) : Response("404 Not Found", "", "");
}

std::string ServePages()
{
    // Both live as long as the process, which ends while a client is awaited.
    auto& context = *new boost::asio::io_context;
    auto& acceptor =
        *new tcp::acceptor(context, tcp::endpoint(boost::asio::ip::address_v4::loopback(), 0));
    instance::RunApart([&acceptor] {
        for (;;) {
            const auto client = std::make_shared<tcp::iostream>(acceptor.accept());
            instance::RunApart([client] {
                std::string path;
                *client >> path >> path;
                for (std::string line; std::getline(*client, line) && line != "\r";) {
                }
                *client << Answer(path.substr(0, path.find('?'))) << std::flush;
            });
        }
    });
    return "http://127.0.0.1:" + std::to_string(acceptor.local_endpoint().port());
}

}  // namespace tvn::tests
