/* One whole cycle in C, early bound: starts a browser, gives values to variables, plays a macro,
   prints what it extracted, and closes the browser. A step that fails is explained, and the
   program then ends with exit code 1.

       play [MACRO [COMMAND LINE OF tvnInit [SECONDS]]]

   Needs Interface.h, Interface_i.c, and the libraries ole32, oleaut32 and shell32. */

#define COBJMACROS
#include <windows.h>

#include <oleauto.h>
#include <shellapi.h>

#include <stdio.h>
#include <string.h>
#include <wchar.h>

#include "Interface.h"

/* What a Status other than 1 means, and what to do. */
static void PrintStatusHelp(const char* method, int status)
{
    const int isInit = strcmp(method, "tvnInit") == 0;
    const char* cause = "The browser or the runner service answered with a number of its own.";
    const char* remedy = "Its documents tell what it means.";
    switch (status) {
        case sFail:
            cause =
                isInit
                    ? "The browser was not found, could not be started, or refused this client."
                    : "The browser has gone, its answer cannot be read, or another command runs.";
            remedy = isInit ? "Install Edge, Chrome or Chromium. To see why, run: tvntrace "
                              "--explain COMMAND"
                            : "Call tvnExit and tvnInit, then try again.";
            break;
        case sNotCompleted:
            cause = "The browser did not complete the macro.";
            remedy = "tvnGetLastError may tell why.";
            break;
        case sTimeout:
            cause = isInit ? "The browser was started but did not report in time."
                           : "The browser did not answer in time. A macro goes on running.";
            remedy =
                isInit
                    ? "Give tvnInit more time. Internet Explorer and Firefox need the add-on, too."
                    : "Give the call more time, or close the browser with tvnExit.";
            break;
        case sNotStarted:
            cause = "No browser is attached.";
            remedy = "Call tvnInit first, and look at its Status.";
            break;
        case sRunnerNotReachable:
            cause = "The runner service did not answer.";
            remedy = "Start the service, or leave -runner out.";
            break;
        case sInstancesCountLimitReached:
            cause = "As many browsers run as may run.";
            remedy = "Wait until one of them has ended, then try again.";
            break;
        case sInternal:
            cause = "The object has a browser already, or is about to get one.";
            remedy = "Call tvnExit first, or take another object.";
            break;
        case sMacroError:
            cause = "The macro stopped with an error.";
            remedy = "tvnGetLastError tells which; mend the macro or its variables.";
            break;
        default:
            break;
    }
    printf("cause: %s\nremedy: %s\n", cause, remedy);
}

/* Prints a text behind a label, in the form that the console is told to expect. A text may be
   longer than what the conversion to one buffer could hold, so it goes unit by unit. */
static void PrintText(const char* label, const wchar_t* text)
{
    printf("%s: ", label);
    while (*text != L'\0') {
        char bytes[8];
        const int isPair = text[0] >= 0xD800 && text[0] < 0xDC00 && text[1] != L'\0';
        const int units = isPair ? 2 : 1;
        const int size =
            WideCharToMultiByte(CP_UTF8, 0, text, units, bytes, sizeof bytes, NULL, NULL);
        fwrite(bytes, 1, (size_t)size, stdout);
        text += units;
    }
    printf("\n");
}

/* Prints the Status of a method; any other than 1 is explained. */
static int Succeeded(IApp* app, const char* method, HRESULT result, Status status)
{
    BSTR error = NULL;
    if (FAILED(result)) {
        printf("%s: error 0x%08lX\n", method, (unsigned long)result);
        return 0;
    }
    printf("%s: %d\n", method, (int)status);
    if (status == sOk) {
        return 1;
    }
    IApp_tvnGetLastError(app, &error);
    if (strcmp(method, "tvnExit") != 0 && SysStringLen(error) > 0) {
        PrintText("error text", error);
    }
    SysFreeString(error);
    PrintStatusHelp(method, (int)status);
    return 0;
}

static void SetVariable(IApp* app, const wchar_t* name, const wchar_t* value)
{
    Status status = sFail;
    BSTR variable = SysAllocString(name);
    BSTR text = SysAllocString(value);
    IApp_tvnSet(app, variable, text, &status);
    SysFreeString(text);
    SysFreeString(variable);
}

/* Prints the pieces of the last extract, one a line. */
static void PrintPieces(IApp* app)
{
    long number = 0;
    for (number = 1; number <= 32767; ++number) {
        char label[16];
        VARIANT index;
        BSTR piece = NULL;
        V_VT(&index) = VT_I4;
        V_I4(&index) = number;
        if (FAILED(IApp_tvnGetLastExtract(app, index, &piece)) || piece == NULL) {
            return;
        }
        if (wcscmp(piece, L"NODATA") == 0) {
            SysFreeString(piece);
            return;
        }
        sprintf(label, "%ld", number);
        PrintText(label, piece);
        SysFreeString(piece);
    }
}

static int PlayMacro(IApp* app, const wchar_t* macro, long seconds)
{
    Status status = sFail;
    BSTR text = SysAllocString(macro);
    HRESULT result = S_OK;
    int played = 0;
    SetVariable(app, L"city", L"New York");
    SetVariable(app, L"nights", L"3");
    result = IApp_tvnPlay(app, text, seconds, &status);
    SysFreeString(text);
    played = Succeeded(app, "tvnPlay", result, status);
    PrintPieces(app);
    return played;
}

/* From tvnInit to tvnExit, which is called however the play has ended. */
static int RunCycle(IApp* app, const wchar_t* macro, const wchar_t* options, long seconds)
{
    Status status = sFail;
    HRESULT result = S_OK;
    VARIANT commandLine;
    VARIANT leftOut;
    int played = 0;
    V_VT(&leftOut) = VT_ERROR;
    V_ERROR(&leftOut) = DISP_E_PARAMNOTFOUND;
    V_VT(&commandLine) = VT_BSTR;
    V_BSTR(&commandLine) = SysAllocString(options);
    result =
        IApp_tvnInit(app, commandLine, VARIANT_TRUE, leftOut, leftOut, leftOut, seconds, &status);
    VariantClear(&commandLine);
    if (!Succeeded(app, "tvnInit", result, status)) {
        return 0;
    }
    played = PlayMacro(app, macro, seconds);
    status = sFail;
    result = IApp_tvnExit(app, 10, &status);
    return Succeeded(app, "tvnExit", result, status) && played;
}

int main(void)
{
    int count = 0;
    int succeeded = 0;
    IApp* app = NULL;
    HRESULT result = S_OK;
    wchar_t** arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    const wchar_t* macro = count > 1 ? arguments[1] : L"Hotel Search";
    const wchar_t* options = count > 2 ? arguments[2] : L"";
    const long seconds = count > 3 ? wcstol(arguments[3], NULL, 10) : 60;

    SetConsoleOutputCP(CP_UTF8);
    CoInitializeEx(NULL, COINIT_APARTMENTTHREADED);
    result = CoCreateInstance(&CLSID_App, NULL, CLSCTX_INPROC_SERVER, &IID_IApp, (void**)&app);
    if (FAILED(result)) {
        printf("error: the scripting object cannot be used (0x%08lX)%s\n", (unsigned long)result,
               result == REGDB_E_CLASSNOTREG ? ": it is not registered, so install it" : "");
    } else {
        succeeded = RunCycle(app, macro, options, seconds);
        IApp_Release(app);
    }
    CoUninitialize();
    LocalFree(arguments);
    return succeeded ? 0 : 1;
}
