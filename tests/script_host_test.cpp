// Scripts under the platform's own script host, with the registered DLL.

#include <gtest/gtest.h>

#include "tests/surroundings.h"

namespace tvn::tests
{

TEST(ScriptHost, AScriptInEitherLanguagePrintsWhatIsWrittenBesideIt)
{
    for (const char* name : {"script_host_test.vbs", "script_host_test.js"}) {
        const std::string path = TreeFolder() + "\\tests\\" + name;
        EXPECT_EQ(Ran("cscript.exe //nologo \"" + path + "\""), "0|" + Contents(path + ".txt"));
    }
}

}  // namespace tvn::tests
