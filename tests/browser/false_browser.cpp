// What passes for a Chromium, a Windows program that is reached by two pipes. It writes its command
// line, the handles that it inherits and the commands that it gets, a line each, into
// "false_browser.txt" beside it. The last word of its command line but the page tells what is wrong
// with it:
//
//     --ends     ends at once, with a word why      --no-page  shows no page
//     --goes     goes at the first command          --torn     answers a play with nonsense
//     --old      is of an old version
//     --refuses  refuses every play                 --closed   its page closes in a play
//     --crashes  the macro's page crashes           --long     answers a play with 17 MiB
//     --endless  opens a page and plays until the macro's own is closed
//     --stays    stays when its pipe has ended
//     --well     answers all as if it were done

#include <windows.h>

#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <regex>
#include <string>

namespace
{

using Json = nlohmann::json;

/// A line for each handle that this process was given by the one that started it.
std::string InheritedHandles()
{
    std::string lines;
    for (ULONG_PTR value = 4; value < 0x4000; value += 4) {
        DWORD flags = 0;
        GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags);
        lines +=
            (flags & HANDLE_FLAG_INHERIT) != 0 ? "inherited: " + std::to_string(value) + "\n" : "";
    }
    return lines;
}

class Browser
{
  public:
    Browser(const std::string& line, std::string fault) : m_fault(std::move(fault))
    {
        const std::string inherited = InheritedHandles();  // the log's handle is none of them
        m_log.open(std::regex_replace(_pgmptr, std::regex("exe$"), "txt"));
        m_log << line << '\n' << inherited << std::flush;
        std::smatch pipes;
        std::regex_search(line, pipes, std::regex("io-pipes=(\\d+),(\\d+)"));
        m_input = reinterpret_cast<HANDLE>(std::stoull(pipes[1]));
        m_output = reinterpret_cast<HANDLE>(std::stoull(pipes[2]));
    }

    /// Until it is told to go, or the pipe ends.
    void Serve()
    {
        // What nobody can read, and half of a character.
        Write("nonsense");
        Write(R"({"method": 1})");
        Write(
            R"({"method": "Runtime.consoleAPICalled", "params": {"args": [{"value": "a\\b"}, {"value": 1}]}, "half": "\\\ud800\ud83d\ude00"})");
        Write(R"({"method": "Runtime.bindingCalled", "params": {"payload": "nonsense"}})");
        std::string pending;
        char bytes[4096];
        for (DWORD size = 0; ReadFile(m_input, bytes, sizeof bytes, &size, nullptr);) {
            pending.append(bytes, size);
            for (std::size_t end = 0; (end = pending.find('\0')) != std::string::npos;) {
                m_log << pending.c_str() << std::endl;
                const Json command = Json::parse(pending.substr(0, end));
                pending.erase(0, end + 1);
                if (m_fault == "--goes" || command.at("method") == "Browser.close") {
                    return;
                }
                Take(command);
            }
        }
        if (m_fault == "--stays") {
            Sleep(20000);
        }
    }

  private:
    void Write(const std::string& text)
    {
        DWORD size = 0;
        WriteFile(m_output, text.c_str(), static_cast<DWORD>(text.size() + 1), &size, nullptr);
    }

    void Tell(const char* method, const Json& parameters, const char* session = "")
    {
        Write(Json{{"method", method}, {"params", parameters}, {"sessionId", session}}.dump());
    }

    void TellOfTarget(const char* session, const char* target)
    {
        Tell("Target.attachedToTarget",
             {{"sessionId", session}, {"targetInfo", {{"targetId", target}}}});
    }

    void Take(const Json& command)
    {
        const std::string method = command.at("method");
        const bool plays = command.dump().find("this.play(") != std::string::npos;
        if (method == "Target.setAutoAttach") {
            TellOfTarget("visible", "page");
        }
        if (method == "Fetch.enable") {
            Tell("Fetch.requestPaused", {{"requestId", "one"}}, "visible");
            Tell("Fetch.authRequired", {{"requestId", "two"}}, "visible");
        }
        if (method == "Target.closeTarget" && m_fault == "--endless") {
            Tell("Target.detachedFromTarget", {{"sessionId", "session"}});
        } else if (plays && m_fault == "--crashes") {
            Tell("Inspector.targetCrashed", Json::object(), "session");
        } else if (plays && m_fault == "--endless") {
            TellOfTarget("popup", "popup");
        } else if (plays && m_fault == "--refuses") {
            Write(Json{{"id", command.at("id")}, {"error", {{"message", "not now"}}}}.dump());
        } else {
            Write(Json{{"id", command.at("id")}, {"result", Result(command, plays)}}.dump());
        }
    }

    /// The results of all commands in one: who asks takes what it looks for.
    Json Result(const Json& command, bool plays)
    {
        Json result = {{"product", m_fault == "--old" ? "Chrome/137.0.1" : "Chrome/138.0.1"},
                       {"targetInfos", Json::array()},
                       {"targetId", "macro"},
                       {"browserContextId", "context"},
                       {"sessionId", "session"},
                       {"data", "cGljdHVyZQ=="},
                       {"result", {{"objectId", "library"}, {"value", {{"pieces", {"played"}}}}}}};
        if (m_fault != "--no-page") {
            result["targetInfos"].push_back({{"targetId", "page"}});
        }
        if (m_fault == "--torn" && command.at("method") == "Runtime.evaluate") {
            result = {{"result", Json::object()}, {"exceptionDetails", "torn"}};
        } else if (m_fault == "--closed") {
            result["result"]["value"]["gone"] = true;
        } else if (plays && m_fault == "--long") {
            result["result"]["value"]["pieces"] = {std::string(std::size_t{17} << 20, 'x')};
        }
        return result;
    }

    HANDLE m_input = nullptr;
    HANDLE m_output = nullptr;
    const std::string m_fault;
    std::ofstream m_log;
};

}  // namespace

int main(int argc, char** argv)
{
    const std::string fault = argv[argc - 2];
    if (fault == "--ends") {
        std::puts("there is no display");
        return 1;
    }
    Browser(GetCommandLineA(), fault).Serve();
}
