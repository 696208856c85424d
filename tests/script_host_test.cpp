// Scripts under the platform's own script host, with the registered DLL.

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "basicslib/Handle.h"
#include "tests/surroundings.h"

namespace
{

/// What the script prints; its lines end in line feeds.
std::string PrintedBy(const std::string& name)
{
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    HANDLE read = nullptr;
    HANDLE write = nullptr;
    EXPECT_TRUE(CreatePipe(&read, &write, &inherited, 0));
    const tvn::Handle output(read);
    std::string command = "cscript.exe //nologo \"" TESTS_FOLDER "\\" + name + "\"";
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = write;
    PROCESS_INFORMATION process = {};
    EXPECT_TRUE(CreateProcessA(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                               &startup, &process));
    CloseHandle(write);
    CloseHandle(process.hThread);
    const tvn::Handle ended(process.hProcess);
    std::string text;
    char buffer[512];
    for (DWORD count = 0;
         ReadFile(output.Get(), buffer, sizeof buffer, &count, nullptr) && count > 0;) {
        text.append(buffer, count);
    }
    EXPECT_EQ(WaitForSingleObject(ended.Get(), 10000), static_cast<DWORD>(WAIT_OBJECT_0));
    text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
    return text;
}

std::string Expected(const std::string& name)
{
    const std::ifstream file(TESTS_FOLDER "\\" + name);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

}  // namespace

TEST(ScriptHost, VBScriptUsesEveryMethodWithLiteralsVariablesAndLeftOutArguments)
{
    EXPECT_EQ(PrintedBy("script_host_test.vbs"), Expected("script_host_test.vbs.txt"));
}

TEST(ScriptHost, JScriptUsesEveryMethod)
{
    EXPECT_EQ(PrintedBy("script_host_test.js"), Expected("script_host_test.js.txt"));
}
