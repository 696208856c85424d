// What passes for a Chromium until it is talked to. The last word of its command line but the page
// tells what is wrong with it:
//
//     --ends          ends at once, with a word why     --refuses   listens nowhere and stays
//     --goes          goes at the first command         --no-page   shows no page
//     --torn          answers a play with nonsense      --closed    its pages close
//     --well          answers all as if it were done

#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/websocket.hpp>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>

namespace
{

namespace asio = boost::asio;
namespace beast = boost::beast;
using Json = nlohmann::json;

/// The results of all commands in one: who asks takes what it looks for.
Json Result(const std::string& fault, const std::string& method)
{
    Json result = {{"processInfo", Json::array()},
                   {"targetInfos", {{{"targetId", "page"}}}},
                   {"targetId", "page"},
                   {"browserContextId", "context"},
                   {"sessionId", "session"},
                   {"result", {{"objectId", "library"}, {"value", {{"pieces", {"played"}}}}}}};
    if (fault == "--no-page") {
        result["targetInfos"] = Json::array();
    } else if (fault == "--torn" && method == "Runtime.evaluate") {
        result = {{"result", Json::object()}, {"exceptionDetails", "torn"}};
    } else if (fault == "--closed") {
        result["result"]["value"]["gone"] = true;
    }
    return result;
}

void Serve(asio::ip::tcp::acceptor& acceptor, const std::string& fault)
{
    beast::websocket::stream<asio::ip::tcp::socket> stream(acceptor.accept());
    stream.accept();
    // What nobody can read, and half of a character.
    for (
        const char* event :
        {"nonsense", R"({"method": 1})",
         R"({"method": "Runtime.consoleAPICalled", "params": {"args": [{"value": "a\\b"}]}, "half": "\\\ud800\ud83d\ude00"})",
         R"({"method": "Runtime.bindingCalled", "params": {"payload": "nonsense"}})"}) {
        stream.write(asio::buffer(std::string(event)));
    }
    for (;;) {
        beast::flat_buffer buffer;
        stream.read(buffer);
        const Json command = Json::parse(beast::buffers_to_string(buffer.data()));
        const std::string method = command.at("method");
        if (fault == "--goes" || method == "Browser.close") {
            return;
        }
        const Json answer = {{"id", command.at("id")}, {"result", Result(fault, method)}};
        stream.write(asio::buffer(answer.dump()));
    }
}

}  // namespace

int main(int argc, char** argv)
{
    const std::string fault = argv[argc - 2];
    if (fault == "--ends") {
        std::puts("there is no display");
        return 1;
    }
    constexpr const char* kProfile = "--user-data-dir=";
    std::string profile;
    for (int index = 1; index < argc; ++index) {
        const std::string argument = argv[index];
        profile = argument.rfind(kProfile, 0) == 0 ? argument.substr(std::string(kProfile).size())
                                                   : profile;
    }
    asio::io_context context;
    asio::ip::tcp::acceptor acceptor(context, {asio::ip::address_v4::loopback(), 0});
    const auto port = acceptor.local_endpoint().port();
    if (fault == "--refuses") {
        acceptor.close();
    }
    std::ofstream(profile + "\\DevToolsActivePort") << port << "\n/devtools\n";
    if (fault == "--refuses") {
        std::this_thread::sleep_for(std::chrono::seconds(10));
        return 1;
    }
    try {
        Serve(acceptor, fault);
    } catch (const boost::system::system_error&) {
        // whoever talked to it has gone, or nobody could
    }
    return 0;
}
