#include "tests/pipe_accounts.h"

#include <aclapi.h>

#include <sstream>

#include "basicslib/Handle.h"

namespace tvn::tests
{

static std::string NameOf(void* account)
{
    HANDLE opened = nullptr;
    OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened);
    const Handle token(opened);
    BYTE user[256];
    DWORD size = 0;
    GetTokenInformation(token.Get(), TokenUser, user, sizeof user, &size);
    if (EqualSid(account, reinterpret_cast<TOKEN_USER*>(user)->User.Sid)) {
        return "own";
    }
    for (const auto& [name, kind] : {std::pair("owner", WinCreatorOwnerRightsSid),
                                     {"system", WinLocalSystemSid},
                                     {"administrators", WinBuiltinAdministratorsSid},
                                     {"everyone", WinWorldSid}}) {
        if (IsWellKnownSid(account, kind)) {
            return name;
        }
    }
    return "another";
}

std::string AccountsOf(HANDLE pipe)
{
    ACL* list = nullptr;
    void* descriptor = nullptr;
    if (GetSecurityInfo(pipe, SE_KERNEL_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &list,
                        nullptr, &descriptor) != ERROR_SUCCESS ||
        list == nullptr) {
        return "no list";
    }
    std::ostringstream text;
    for (DWORD index = 0; index < list->AceCount; ++index) {
        void* entry = nullptr;
        GetAce(list, index, &entry);
        auto* const ace = static_cast<ACCESS_ALLOWED_ACE*>(entry);
        text << (index == 0 ? "" : ", ") << NameOf(&ace->SidStart) << ' ' << std::hex << ace->Mask;
    }
    LocalFree(descriptor);
    return text.str();
}

}  // namespace tvn::tests
