// The built DLL as a file and as a client that does not know its interface sees it: what it says of
// the machine that built it, and what it leaves behind unused; scripts, and scripts for the
// registry.

#include <gmock/gmock.h>

#include <set>

#include "comserver/RegistryScript.h"
#include "tests/surroundings.h"
#include "tests/texts.h"

namespace tvn::tests
{

static const std::string kServer = BuildFolder() + "\\talvern.dll";

TEST(DllFile, NamesNoPathOfTheMachineThatBuiltIt)
{
    std::string root = TreeFolder().substr(2) + "/";
    ReplaceAll(root, "\\", "/");
    const std::string bytes = Contents(kServer);
    EXPECT_NE(bytes.find("pipeutils/Overlapped.cpp"), std::string::npos);
    const auto occurrences = [&bytes](const std::string& part) {
        std::string others = bytes;
        ReplaceAll(others, part, "");
        return (bytes.size() - others.size()) / part.size();
    };
    // A build that counts what runs, and only that one, names the files into which it counts.
    EXPECT_EQ(occurrences(root), occurrences(".gcda")) << root;
}

TEST(UnusedServer, ARegistrationThatFailsLeavesNothingWhenItIsUnloaded)
{
    // An account that may not write there fails at the same call.
    HKEY nothing = nullptr;
    ASSERT_EQ(RegCreateKeyA(HKEY_CURRENT_USER, "Software\\TalvernNothing", &nothing),
              ERROR_SUCCESS);
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nothing);
    std::set<DWORD> freeIndexes;
    for (int round = 0; round < 10; ++round) {
        HMODULE dll = LoadLibraryA(kServer.c_str());
        for (const char* name : {"DllRegisterServer", "DllUnregisterServer"}) {
            const auto call = reinterpret_cast<HRESULT(WINAPI*)()>(
                reinterpret_cast<void*>(GetProcAddress(dll, name)));
            EXPECT_EQ(call(), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)) << name;
        }
        FreeLibrary(dll);
        EXPECT_EQ(GetModuleHandleA(kServer.c_str()), nullptr) << "nothing has used it";
        const DWORD index = TlsAlloc();
        TlsFree(index);
        freeIndexes.insert(index);
    }
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    RegCloseKey(nothing);
    RegDeleteKeyA(HKEY_CURRENT_USER, "Software\\TalvernNothing");
    EXPECT_EQ(freeIndexes.size(), 1U) << "each round has taken one";
}

TEST(ScriptHost, AScriptInEitherLanguagePrintsWhatIsWrittenBesideIt)
{
    for (const char* name : {"script_host_test.vbs", "script_host_test.js"}) {
        const std::string path = TreeFolder() + "\\tests\\" + name;
        EXPECT_EQ(Ran("cscript.exe //nologo \"" + path + "\""), "0|" + Contents(path + ".txt"));
    }
}

TEST(RegistryScript, ThatCannotBeParsedIsRefused)
{
    for (const char* script : {"", "HKCU { }", "HKCR {", "HKCR { a = s 'x }", "HKCR { a = x 'y' }",
                               "HKCR { a { val b } }", "HKCR { } more"}) {
        const comserver::RegistryScript broken(HKEY_CURRENT_USER, script, L"");
        EXPECT_EQ(broken.Register(), E_INVALIDARG) << script;
        EXPECT_EQ(broken.Unregister(), E_INVALIDARG) << script;
    }
}

TEST(RegistryScript, HasQuotesInItsTextsAndPutsThePathIn)
{
    const comserver::RegistryScript quoted(HKEY_CURRENT_USER,
                                           "HKCR { tvn_test = s 'it''s %MODULE%' }", L"C:\\o'm");
    EXPECT_EQ(quoted.Register(), S_OK);
    EXPECT_EQ(RegistryValue("tvn_test", HKEY_CURRENT_USER), "it's C:\\o'm");
    EXPECT_EQ(quoted.Unregister(), S_OK);
    EXPECT_EQ(RegistryValue("tvn_test", HKEY_CURRENT_USER), "(none)");
}

}  // namespace tvn::tests
