// One whole cycle in C#: starts a browser, gives values to variables, plays a macro, prints what it
// extracted, and closes the browser. A step that fails is explained, and the program then ends
// with exit code 1. It must run as a 64-bit process. The compiler that every Windows has builds it:
//
//     %WINDIR%\Microsoft.NET\Framework64\v4.0.30319\csc.exe /platform:x64 play.cs
//     play.exe [MACRO]
//
// tvnInit([commandLine], [openNewBrowser = True], [user], [password], [domain], [timeout = 30])
// tvnPlay(inText, [timeout = 600])
// tvnExit([timeout = 10])

using System;
using System.Runtime.InteropServices;

static class Program
{
    static dynamic app;
    static bool failed;

    [STAThread]
    static int Main(string[] arguments)
    {
        string macro = arguments.Length > 0 ? arguments[0] : "Hotel Search";
        app = Activator.CreateInstance(Type.GetTypeFromProgID("talvern", true));
        try
        {
            if (Succeeded("tvnInit", app.tvnInit(timeout: 60)))
            {
                try // whatever goes wrong in here, the browser is closed
                {
                    Play(macro);
                }
                finally
                {
                    Succeeded("tvnExit", app.tvnExit(timeout: 10));
                }
            }
        }
        finally
        {
            // Otherwise the garbage collector lets the object go when it likes.
            Marshal.ReleaseComObject(app);
        }
        return failed ? 1 : 0;
    }

    static void Play(string macro)
    {
        app.tvnSet("city", "New York");
        app.tvnSet("nights", "3");
        Succeeded("tvnPlay", app.tvnPlay(inText: macro, timeout: 120));
        for (int index = 1; index <= 32767; index++)
        {
            string piece = app.tvnGetLastExtract(index);
            if (piece == "NODATA") break;
            Console.WriteLine(index + ": " + piece);
        }
    }

    // Prints the Status of a method; any other than 1 is explained and remembered.
    static bool Succeeded(string method, int status)
    {
        Console.WriteLine(method + ": " + status);
        if (status == 1) return true;
        failed = true;
        if (method != "tvnExit" && app.tvnGetLastError() != "")
        {
            Console.WriteLine("error text: " + app.tvnGetLastError());
        }
        Console.WriteLine(StatusHelp(method == "tvnInit", status));
        return false;
    }

    // What a Status other than 1 means, and what to do.
    static string StatusHelp(bool isInit, int status)
    {
        switch (status)
        {
            case -1:
                return isInit
                    ? Help("The browser was not found, could not be started, or refused this client.",
                           "Install Edge, Chrome or Chromium. To see why, run: tvntrace --explain COMMAND")
                    : Help("The browser has gone, its answer cannot be read, or another command runs.",
                           "Call tvnExit and tvnInit, then try again.");
            case -2:
                return Help("The browser did not complete the macro.",
                            "tvnGetLastError may tell why.");
            case -3:
                return isInit
                    ? Help("The browser was started but did not report in time.",
                           "Give tvnInit more time. Internet Explorer and Firefox need the add-on, too.")
                    : Help("The browser did not answer in time. A macro goes on running.",
                           "Give the call more time, or close the browser with tvnExit.");
            case -4:
                return Help("No browser is attached.",
                            "Call tvnInit first, and look at its Status.");
            case -6:
                return Help("The runner service did not answer.",
                            "Start the service, or leave -runner out.");
            case -7:
                return Help("As many browsers run as may run.",
                            "Wait until one of them has ended, then try again.");
            case -20:
                return Help("The object has a browser already, or is about to get one.",
                            "Call tvnExit first, or take another object.");
            case -100:
                return Help("The macro stopped with an error.",
                            "tvnGetLastError tells which; mend the macro or its variables.");
            default:
                return Help("The browser or the runner service answered with a number of its own.",
                            "Its documents tell what it means.");
        }
    }

    static string Help(string cause, string remedy)
    {
        return "cause: " + cause + "\nremedy: " + remedy;
    }
}
