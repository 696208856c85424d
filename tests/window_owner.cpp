// Makes windows as its arguments say, and keeps them until it is ended. Window number N has the
// class "WN", so that tests can tell them apart.
//
//     hidden=TITLE visible=TITLE    a top-level window
//     message=TITLE                 a message-only window
//     child=TITLE showchild=TITLE   a child, hidden or not, of the last top-level window
//     crowd=N childcrowd=N          N windows, or children, with other titles and the class "crowd"
//     deny                          allows others only to query the process and read its memory
//     ready=NAME                    signals the named event

#include <windows.h>

#include <aclapi.h>
#include <cstdlib>
#include <string>

namespace
{

HWND MakeWindow(const std::string& className, const std::string& title, DWORD style, HWND parent)
{
    WNDCLASSA windowClass = {};
    windowClass.lpfnWndProc = &DefWindowProcA;
    windowClass.lpszClassName = className.c_str();
    RegisterClassA(&windowClass);
    return CreateWindowA(className.c_str(), title.c_str(), style, 0, 0, 1, 1, parent, nullptr,
                         nullptr, nullptr);
}

void AllowOnlyQueries()
{
    alignas(ACL) char memory[256];
    auto* acl = reinterpret_cast<ACL*>(memory);
    SID everyone = {SID_REVISION, 1, SECURITY_WORLD_SID_AUTHORITY, {SECURITY_WORLD_RID}};
    InitializeAcl(acl, sizeof memory, ACL_REVISION);
    AddAccessAllowedAce(
        acl, ACL_REVISION,
        PROCESS_QUERY_INFORMATION | PROCESS_QUERY_LIMITED_INFORMATION | PROCESS_VM_READ, &everyone);
    SetSecurityInfo(GetCurrentProcess(), SE_KERNEL_OBJECT, DACL_SECURITY_INFORMATION, nullptr,
                    nullptr, acl, nullptr);
}

}  // namespace

int main(int argc, char** argv)
{
    HWND top = nullptr;
    int number = 0;
    for (int index = 1; index < argc; ++index) {
        const std::string argument = argv[index];
        const std::size_t equals = std::min(argument.find('='), argument.size());
        const std::string kind = argument.substr(0, equals);
        const std::string value = equals < argument.size() ? argument.substr(equals + 1) : "";
        const std::string className = "W" + std::to_string(++number);
        if (kind == "hidden" || kind == "visible") {
            const DWORD shown = kind == "visible" ? WS_VISIBLE : 0;
            top = MakeWindow(className, value, WS_OVERLAPPEDWINDOW | shown, nullptr);
        } else if (kind == "message") {
            MakeWindow(className, value, 0, HWND_MESSAGE);
        } else if (kind == "child" || kind == "showchild") {
            MakeWindow(className, value, WS_CHILD | (kind == "showchild" ? WS_VISIBLE : 0), top);
        } else if (kind == "crowd" || kind == "childcrowd") {
            const bool child = kind == "childcrowd";
            for (int left = std::atoi(value.c_str()); left > 0; --left) {
                MakeWindow("crowd", "other", child ? WS_CHILD : WS_OVERLAPPEDWINDOW,
                           child ? top : nullptr);
            }
        } else if (kind == "deny") {
            AllowOnlyQueries();
        } else if (kind == "ready") {
            SetEvent(OpenEventA(EVENT_MODIFY_STATE, FALSE, value.c_str()));
        }
    }
    MSG message;
    while (GetMessageA(&message, nullptr, 0, 0) > 0) {
        DispatchMessageA(&message);
    }
    return 0;
}
