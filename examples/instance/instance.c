/* The smallest complete instance: a browser side that the scripting object starts, finds, attaches
   to, plays with and ends. It plays nothing: a play is answered with its argument as it came. Why
   each rule is there is in docs/protocol.md. Install it as talvern.exe in the folder that the
   registry's PathBasic names. */

#include <windows.h>

#include <stdio.h>
#include <wchar.h>

enum { CLIENTS = 4, ID = 36, ROOM = 1 << 20 }; /* at a time; characters of an identifier; bytes */

static HWND g_window;
static CRITICAL_SECTION g_lock;
static HANDLE g_attached;             /* the connection that owns this instance, or NULL */
static wchar_t g_reservedFor[ID + 1]; /* the creator's identifier until it has attached */

/* The identifier behind the last `name`: look-alikes of a script or a folder stand before it. */
static void TakeId(const wchar_t* line, const wchar_t* name, wchar_t* id)
{
    const wchar_t* last = NULL;
    while ((line = wcsstr(line, name)) != NULL) {
        last = line += wcslen(name);
    }
    if (last != NULL && wcsspn(last, L"0123456789abcdef_") >= ID) {
        wmemcpy(id, last, ID);
    }
}

/* Takes a text out of a message: the number of its bytes, then the bytes. */
static BOOL TakeText(const BYTE** at, const BYTE* end, wchar_t* text)
{
    DWORD bytes = 0;
    if (end - *at < 4 || (CopyMemory(&bytes, *at, 4), bytes > (size_t)(end - *at - 4))) {
        return FALSE;
    }
    CopyMemory(text, *at + 4, bytes);
    text[bytes / 2] = L'\0';
    *at += 4 + bytes;
    return TRUE;
}

/* Free, or this connection's already; and reserved for nobody, or for this creator. */
static int Attach(HANDLE pipe, const wchar_t* creator)
{
    int status = -1;
    EnterCriticalSection(&g_lock);
    if ((g_attached == NULL || g_attached == pipe) &&
        (g_reservedFor[0] == L'\0' || wcscmp(g_reservedFor, creator) == 0)) {
        g_attached = pipe;
        g_reservedFor[0] = L'\0'; /* for good */
        status = 1;
    }
    LeaveCriticalSection(&g_lock);
    return status;
}

static int Answer(HANDLE pipe, const wchar_t* name, const wchar_t* argument, wchar_t* text)
{
    text[0] = L'\0';
    if (wcscmp(name, L"tvnAuxAttachIfFree") == 0) {
        return Attach(pipe, argument);
    }
    if (pipe != g_attached) {
        return -1;
    }
    if (wcscmp(name, L"PLAY") == 0) {
        wcscpy(text, argument);
        return 1;
    }
    return wcscmp(name, L"appSendText") == 0 || wcscmp(name, L"appEnd") == 0 ? 1 : -1;
}

static BOOL Finish(HANDLE pipe, BOOL done, OVERLAPPED* block, DWORD* count)
{
    return done || GetLastError() == ERROR_PIPE_CONNECTED ||
           (GetLastError() == ERROR_IO_PENDING && GetOverlappedResult(pipe, block, count, TRUE));
}

/* One end of the command pipe: serves one client after the other. A message that does not fit, or
   lacks a field, ends the connection. */
static DWORD WINAPI Serve(void* pipe)
{
    BYTE* in = malloc(ROOM);
    DWORD* out = malloc(ROOM);
    wchar_t* name = malloc(ROOM);
    wchar_t* argument = malloc(ROOM);
    OVERLAPPED reading = {.hEvent = CreateEventW(NULL, TRUE, FALSE, NULL)};
    OVERLAPPED writing = {.hEvent = CreateEventW(NULL, TRUE, TRUE, NULL)};
    DWORD size = 0;
    while (pipe != INVALID_HANDLE_VALUE) {
        BOOL goOn = Finish(pipe, ConnectNamedPipe(pipe, &reading), &reading, &size);
        while (goOn &&
               Finish(pipe, ReadFile(pipe, in, ROOM - 2, &size, &reading), &reading, &size)) {
            const BYTE* at = in + 8; /* behind the length and the request id */
            goOn =
                size >= 8 && TakeText(&at, in + size, name) && TakeText(&at, in + size, argument);
            if (goOn) {
                /* The reply before this one: its client waits for an answer, and so reads. */
                GetOverlappedResult(pipe, &writing, &size, TRUE);
                out[2] = (DWORD)Answer(pipe, name, argument, (wchar_t*)(out + 4));
                out[3] = (DWORD)(2 * wcslen((wchar_t*)(out + 4)));
                out[0] = 16 + out[3];
                CopyMemory(out + 1, in + 4, 4);
                /* Not waited for: whoever has given this command up reads nothing for now. */
                WriteFile(pipe, out, out[0], NULL, &writing);
                if (wcscmp(name, L"appEnd") == 0 && out[2] == 1) {
                    PostMessageW(g_window, WM_TIMER, 0, 0); /* ends the process */
                }
            }
        }
        EnterCriticalSection(&g_lock);
        g_attached = g_attached == pipe ? NULL : g_attached; /* free again, whatever the reason */
        LeaveCriticalSection(&g_lock);
        CancelIo(pipe);
        GetOverlappedResult(pipe, &writing, &size, TRUE);
        DisconnectNamedPipe(pipe);
    }
    return 1;
}

int WINAPI wWinMain(HINSTANCE module, HINSTANCE before, LPWSTR line, int show)
{
    wchar_t pipeName[64] = L"\\\\.\\pipe\\Talvern_";
    wchar_t* const id = pipeName + wcslen(pipeName);
    DWORD callback[2] = {8, 0};
    HANDLE pipe = NULL;
    MSG message;
    g_window = CreateWindowW(L"STATIC", L"Talvern Instance Window", 0, 0, 0, 0, 0, NULL, NULL,
                             module, NULL);
    InitializeCriticalSection(&g_lock);
    TakeId(line, L"creatorUuid=", g_reservedFor);
    swprintf(id, ID, L"%d", (int)(INT_PTR)g_window);
    for (int client = 0; client < CLIENTS; ++client) { /* before the callback */
        pipe = CreateNamedPipeW(pipeName, PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
                                PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT,
                                PIPE_UNLIMITED_INSTANCES, 1024, 1024, 5000, NULL);
        CloseHandle(CreateThread(NULL, 0, &Serve, pipe, 0, NULL));
    }
    ZeroMemory(id, (ID + 1) * sizeof *id);
    TakeId(line, L"pipeUuid=", id);
    if (*id != L'\0') { /* nobody has to be called back when a person started this program */
        pipe = CreateFileW(pipeName, GENERIC_READ | GENERIC_WRITE, 0, NULL, OPEN_EXISTING, 0, NULL);
        callback[1] = (DWORD)(ULONG_PTR)g_window;
        if (!WriteFile(pipe, callback, sizeof callback, &(DWORD){0}, NULL)) {
            return 1; /* whoever started this is no longer there */
        }
        CloseHandle(pipe);
    }
    while (GetMessageW(&message, NULL, 0, 0) > 0 && message.message != WM_TIMER) {
        DispatchMessageW(&message);
    }
    (void)before;
    (void)show;
    ExitProcess(0);
}
