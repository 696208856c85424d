// The script by which a server is registered: what it may hold.

#include "comserver/RegistryScript.h"

#include <gtest/gtest.h>

#include <string>

namespace comserver
{

TEST(RegistryScript, ThatCannotBeParsedIsRefused)
{
    for (const char* script : {"", "HKCU { }", "HKCR {", "HKCR { a = s 'x }", "HKCR { a = x 'y' }",
                               "HKCR { a { val b } }", "HKCR { } more"}) {
        const RegistryScript broken(HKEY_CURRENT_USER, script, L"");
        EXPECT_EQ(broken.Register(), E_INVALIDARG) << script;
        EXPECT_EQ(broken.Unregister(), E_INVALIDARG) << script;
    }
}

TEST(RegistryScript, HasQuotesInItsTextsAndPutsThePathIn)
{
    const auto value = [] {
        char text[64] = "";
        LONG size = sizeof text;
        const LSTATUS status = RegQueryValueA(HKEY_CURRENT_USER, "tvn_test", text, &size);
        return status == ERROR_SUCCESS ? std::string(text) : "(none)";
    };
    const RegistryScript quoted(HKEY_CURRENT_USER, "HKCR { tvn_test = s 'it''s %MODULE%' }",
                                L"C:\\o'm");
    EXPECT_EQ(quoted.Register(), S_OK);
    EXPECT_EQ(value(), "it's C:\\o'm");
    EXPECT_EQ(quoted.Unregister(), S_OK);
    EXPECT_EQ(value(), "(none)");
}

}  // namespace comserver
