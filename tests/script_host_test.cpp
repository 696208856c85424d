// Scripts under the platform's own script host, with the registered DLL.

#include <cstdio>
#include <fstream>
#include <iterator>

#include "tests/support.h"

namespace tvn::tests
{

TEST(ScriptHost, VBScriptAndJScriptUseEveryMethodWithLiteralsVariablesAndLeftOutArguments)
{
    for (const char* name : {"script_host_test.vbs", "script_host_test.js"}) {
        const std::string path = std::string(TESTS_FOLDER "\\") + name;
        // NOLINTNEXTLINE(cert-env33-c): the command line is this program's own
        FILE* output = _popen(("cscript.exe //nologo \"" + path + "\"").c_str(), "rt");
        ASSERT_NE(output, nullptr);
        std::string printed;
        for (int character = 0; (character = std::fgetc(output)) != EOF;) {
            printed += static_cast<char>(character);
        }
        EXPECT_EQ(_pclose(output), 0);
        std::ifstream expected(path + ".txt");
        EXPECT_EQ(printed, std::string(std::istreambuf_iterator<char>(expected), {}));
    }
}

}  // namespace tvn::tests
