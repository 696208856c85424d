#include "tests/browser/page_server.h"

#include <winsock2.h>

#include <windows.h>

#include <fstream>
#include <sstream>

#include "instance/RunApart.h"

namespace tvn::tests
{

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
    if (path == "/prices.csv") {
        return Response("200 OK", "Content-Disposition: attachment\r\n", "Single;80");
    }
    std::ifstream file(PAGES_FOLDER + path, std::ios::binary);
    std::ostringstream body;
    body << file.rdbuf();
    return file ? Response("200 OK", "", body.str()) : Response("404 Not Found", "", "");
}

static void Serve(SOCKET client)
{
    char request[8192] = "";
    if (recv(client, request, sizeof request - 1, 0) > 0) {
        std::string method;
        std::string path;
        std::istringstream(request) >> method >> path;
        const std::string answer = Answer(path.substr(0, path.find('?')));
        send(client, answer.data(), static_cast<int>(answer.size()), 0);
    }
    closesocket(client);
}

std::string ServePages()
{
    WSADATA data;
    WSAStartup(MAKEWORD(2, 2), &data);
    SOCKET listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int size = sizeof address;
    static_cast<void>(bind(listener, reinterpret_cast<sockaddr*>(&address), size));
    listen(listener, SOMAXCONN);
    getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
    instance::RunApart([listener] {
        for (;;) {
            SOCKET client = accept(listener, nullptr, nullptr);
            instance::RunApart([client] { Serve(client); });
        }
    });
    return "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
}

}  // namespace tvn::tests
