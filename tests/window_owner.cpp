// Makes windows as its arguments say, and keeps them until it is ended. Window number N has the
// class "WN", so that tests can tell them apart.
//
//     hidden=TITLE visible=TITLE    a top-level window
//     message=TITLE                 a message-only window
//     child=TITLE showchild=TITLE   a child, hidden or not, of the last top-level window
//     deny                          allows others only to query the process and read its memory
//     ready=NAME wait=NAME          signals the named event, or waits for it
//     say=TEXT                      writes a line to the debug output
//     break                         ends as a program does that breaks with no debugger there

#include <windows.h>

#include <sddl.h>
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
    // PROCESS_QUERY_INFORMATION, PROCESS_QUERY_LIMITED_INFORMATION and PROCESS_VM_READ, to
    // everyone.
    void* descriptor = nullptr;
    ConvertStringSecurityDescriptorToSecurityDescriptorA("D:(A;;0x1410;;;WD)", SDDL_REVISION_1,
                                                         &descriptor, nullptr);
    SetKernelObjectSecurity(GetCurrentProcess(), DACL_SECURITY_INFORMATION, descriptor);
}

}  // namespace

int main(int argc, char** argv)
{
    HWND top = nullptr;
    for (int index = 1; index < argc; ++index) {
        const std::string argument = argv[index];
        const std::size_t equals = std::min(argument.find('='), argument.size() - 1);
        const std::string kind = argument.substr(0, equals);
        const std::string value = argument.substr(equals + 1);
        const std::string className = "W" + std::to_string(index);
        const bool child = kind.find("child") != std::string::npos;
        const bool shown = kind == "visible" || kind == "showchild";
        const DWORD style = (child ? WS_CHILD : WS_OVERLAPPEDWINDOW) | (shown ? WS_VISIBLE : 0U);
        if (argument == "deny") {
            AllowOnlyQueries();
        } else if (kind == "ready") {
            SetEvent(OpenEventA(EVENT_MODIFY_STATE, FALSE, value.c_str()));
        } else if (kind == "wait") {
            WaitForSingleObject(OpenEventA(SYNCHRONIZE, FALSE, value.c_str()), INFINITE);
        } else if (kind == "say") {
            OutputDebugStringA(value.c_str());
        } else if (argument == "break") {
            DebugBreak();
        } else if (kind == "message") {
            MakeWindow(className, value, 0, HWND_MESSAGE);
        } else {
            HWND made = MakeWindow(className, value, style, child ? top : nullptr);
            top = child ? top : made;
        }
    }
    MSG message;
    while (GetMessageA(&message, nullptr, 0, 0) > 0) {
        DispatchMessageA(&message);
    }
    return 0;
}
