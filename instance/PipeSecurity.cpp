#include "instance/PipeSecurity.h"

#include <sddl.h>

#include <string>

#include "basicslib/Exceptions.h"
#include "basicslib/Handle.h"
#include "basicslib/ScopeExit.h"

namespace instance
{
namespace
{

void Check(BOOL success, int line)
{
    if (!success) {
        throw tvn::Win32Exception(GetLastError(), __FILE__, line);
    }
}

/// The SID of this process's account, in text form.
std::string OwnAccount()
{
    HANDLE opened = nullptr;
    Check(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened), __LINE__);
    const tvn::Handle token(opened);
    struct
    {
        TOKEN_USER user;
        BYTE sid[SECURITY_MAX_SID_SIZE];
    } account = {};
    DWORD size = 0;
    Check(GetTokenInformation(token.Get(), TokenUser, &account, sizeof account, &size), __LINE__);
    char* text = nullptr;
    Check(ConvertSidToStringSidA(account.user.User.Sid, &text), __LINE__);
    const tvn::ScopeExit freed([text] { LocalFree(text); });
    return text;
}

}  // namespace

PipeSecurity::PipeSecurity(PipeAccess access)
{
    // Nothing inherited; full access for the own account, the system and the administrators.
    std::string list = "D:P(A;;GA;;;" + OwnAccount() + ")(A;;GA;;;SY)(A;;GA;;;BA)";
    if (access == PipeAccess::kEveryone) {
        list += "(A;;GRGW;;;WD)";
    }
    void* descriptor = nullptr;
    Check(ConvertStringSecurityDescriptorToSecurityDescriptorA(list.c_str(), SDDL_REVISION_1,
                                                               &descriptor, nullptr),
          __LINE__);
    m_descriptor.reset(descriptor);
    m_attributes = {sizeof m_attributes, descriptor, FALSE};
}

}  // namespace instance
