// Scripts under the platform's own script host, with the registered DLL.

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

#include "tests/surroundings.h"

namespace tvn::tests
{

TEST(ScriptHost, AScriptInEitherLanguagePrintsWhatIsWrittenBesideIt)
{
    for (const char* name : {"script_host_test.vbs", "script_host_test.js"}) {
        const std::string path = TreeFolder() + "\\tests\\" + name;
        // Through a file: a browser that a script leaves behind would keep a pipe open.
        const std::string output = BuildFolder() + "\\printed.txt";
        const std::string command = "cscript.exe //nologo \"" + path + "\" > \"" + output + "\"";
        // NOLINTNEXTLINE(cert-env33-c): the command line is this program's own
        EXPECT_EQ(std::system(command.c_str()), 0);
        std::ifstream printedFile(output);
        const std::string printed(std::istreambuf_iterator<char>(printedFile), {});
        std::ifstream expected(path + ".txt");
        EXPECT_EQ(printed, std::string(std::istreambuf_iterator<char>(expected), {}));
    }
}

}  // namespace tvn::tests
