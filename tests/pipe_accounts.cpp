#include "tests/pipe_accounts.h"

#include <aclapi.h>
#include <sddl.h>

#include <regex>

#include "tests/texts.h"

namespace tvn::tests
{

std::string AccountsOf(HANDLE pipe)
{
    void* descriptor = nullptr;
    char* text = nullptr;
    GetSecurityInfo(pipe, SE_KERNEL_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, nullptr,
                    nullptr, &descriptor);
    ConvertSecurityDescriptorToStringSecurityDescriptorA(descriptor, SDDL_REVISION_1,
                                                         DACL_SECURITY_INFORMATION, &text, nullptr);
    std::string accounts = text == nullptr ? "" : text;
    LocalFree(text);
    LocalFree(descriptor);
    ReplaceAll(accounts, "GWGR", "GRGW");  // not every system begins with the same letter
    return std::regex_replace(accounts, std::regex("S-1-5-21[-0-9]+"), "own");
}

}  // namespace tvn::tests
