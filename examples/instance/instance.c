/* The smallest complete instance: a browser side that the scripting object starts, finds, attaches
   to, plays with and ends. It plays nothing: a play is answered with its argument as it came. Why
   each rule is there is in docs/protocol.md. Install it as talvern.exe in the folder that the
   registry's PathBasic names. */
#include <windows.h>

#include <sddl.h>
#include <stdio.h>
#include <wchar.h>

enum { CLIENTS = 4, ID = 36, ROOM = 1 << 20 }; /* at a time; characters of an identifier; bytes */

typedef struct { /* a text in a message: no zero ends it, and zeros in it are characters */
    const void* units;
    DWORD bytes;
} Text;

static void* volatile g_attached;     /* the connection that owns this instance, or NULL */
static wchar_t g_reservedFor[ID + 1]; /* the creator's identifier until it has attached */

/* The identifier behind the last `name`: look-alikes of a script or a folder stand before it. */
static void TakeId(const wchar_t* name, wchar_t* id)
{
    const wchar_t* last = L"";
    for (const wchar_t* at = GetCommandLineW(); (at = wcsstr(at, name)) != NULL;) {
        last = at += wcslen(name);
    }
    wcsncpy(id, wcsspn(last, L"0123456789abcdef_") < ID ? L"" : last, ID);
}

static BOOL TakeText(const BYTE** at, const BYTE* end, Text* text)
{
    if (end - *at < 4) return FALSE;
    CopyMemory(&text->bytes, *at, 4);
    text->units = *at += 4;
    if (text->bytes > end - *at) return FALSE;
    *at += text->bytes;
    return TRUE;
}

static BOOL Is(Text text, const wchar_t* word)
{
    return text.bytes == 2 * wcslen(word) && memcmp(text.units, word, text.bytes) == 0;
}

static int Answer(HANDLE pipe, Text name, Text argument)
{
    if (!Is(name, L"tvnAuxAttachIfFree")) {
        const BOOL known = Is(name, L"PLAY") || Is(name, L"appSendText") || Is(name, L"appEnd");
        return known && g_attached == pipe ? 1 : -1;
    }
    if (g_reservedFor[0] != L'\0' && !Is(argument, g_reservedFor)) return -1;
    InterlockedCompareExchangePointer(&g_attached, pipe, NULL);
    if (g_attached != pipe) return -1;
    g_reservedFor[0] = L'\0'; /* for good */
    return 1;
}

static BOOL Finish(HANDLE pipe, BOOL done, OVERLAPPED* block, DWORD* count)
{
    return done ||
           (GetLastError() == ERROR_IO_PENDING && GetOverlappedResult(pipe, block, count, TRUE));
}

/* One end of the command pipe: serves one client after the other. A message that does not fit, or
   lacks a field, ends the connection. */
static DWORD WINAPI Serve(void* pipe)
{
    BYTE* in = malloc(ROOM);
    DWORD* out = malloc(ROOM);
    OVERLAPPED reading = {.hEvent = CreateEventW(NULL, TRUE, FALSE, NULL)};
    OVERLAPPED writing = {.hEvent = CreateEventW(NULL, TRUE, TRUE, NULL)};
    DWORD size = 0;
    for (;;) {
        Finish(pipe, ConnectNamedPipe(pipe, &reading), &reading, &size);
        /* Whole messages: a client that ends may take back what has not been read of one. */
        while (Finish(pipe, ReadFile(pipe, in, ROOM, &size, &reading), &reading, &size)) {
            const BYTE* at = in + 8; /* behind the length and the request id */
            Text name, argument;
            if (!TakeText(&at, in + size, &name) || !TakeText(&at, in + size, &argument)) break;
            /* The reply before this one: its client waits for an answer, and so reads. */
            WaitForSingleObject(writing.hEvent, INFINITE);
            out[2] = (DWORD)Answer(pipe, name, argument);
            out[3] = Is(name, L"PLAY") && out[2] == 1 ? argument.bytes : 0;
            out[0] = 16 + out[3];
            CopyMemory(out + 1, in + 4, 4);
            CopyMemory(out + 4, argument.units, out[3]);
            /* Not waited for: whoever has given this command up reads nothing for now. */
            if (!WriteFile(pipe, out, out[0], NULL, &writing) &&
                GetLastError() != ERROR_IO_PENDING) {
                SetEvent(writing.hEvent); /* nothing is under way */
                break;
            }
            if (Is(name, L"appEnd") && out[2] == 1) ExitProcess(0); /* the reply stays readable */
        }
        InterlockedCompareExchangePointer(&g_attached, NULL, pipe); /* free, whatever the reason */
        CancelIo(pipe);
        WaitForSingleObject(writing.hEvent, INFINITE);
        DisconnectNamedPipe(pipe);
    }
}

int main(void)
{
    wchar_t name[64] = L"\\\\.\\pipe\\Talvern_";
    wchar_t* const id = name + wcslen(name);
    HWND window = CreateWindowW(L"STATIC", L"Talvern Instance Window", 0, 0, 0, 0, 0, 0, 0, 0, 0);
    DWORD callback[2] = {8, (DWORD)(ULONG_PTR)window};
    SECURITY_ATTRIBUTES access = {.nLength = sizeof access};
    MSG message;
    /* For the owner, the system and administrators. By default every account may read, and so hold
       connections. */
    if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(
            L"D:P(A;;GA;;;OW)(A;;GA;;;SY)(A;;GA;;;BA)", SDDL_REVISION_1,
            &access.lpSecurityDescriptor, NULL)) {
        return 1;
    }
    TakeId(L"creatorUuid=", g_reservedFor);
    swprintf(id, ID, L"%d", (int)callback[1]);
    for (int client = 0; client < CLIENTS; ++client) { /* before the callback */
        const DWORD first = client == 0 ? FILE_FLAG_FIRST_PIPE_INSTANCE : 0;
        HANDLE pipe = CreateNamedPipeW(name, PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED | first,
                                       PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT |
                                           PIPE_REJECT_REMOTE_CLIENTS,
                                       PIPE_UNLIMITED_INSTANCES, 1024, 1024, 5000, &access);
        if (pipe == INVALID_HANDLE_VALUE) return 1;
        CloseHandle(CreateThread(NULL, 0, &Serve, pipe, 0, NULL));
    }
    TakeId(L"pipeUuid=", id);
    if (*id != L'\0') { /* nobody has to be called back when a person started this program */
        HANDLE pipe = CreateFileW(name, GENERIC_READ | GENERIC_WRITE, 0, NULL, OPEN_EXISTING, 0, 0);
        if (!WriteFile(pipe, callback, sizeof callback, &(DWORD){0}, NULL)) return 1; /* too late */
        CloseHandle(pipe);
    }
    while (GetMessageW(&message, NULL, 0, 0) > 0) DispatchMessageW(&message);
    return 0;
}
