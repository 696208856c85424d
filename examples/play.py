"""One whole cycle in Python: starts a browser, gives values to variables, plays a macro, prints what
it extracted, and closes the browser. A step that fails is explained, and the program then ends
with exit code 1. Python and its package pywin32 must be the 64-bit ones.

    python play.py [MACRO]

tvnInit([commandLine], [openNewBrowser = True], [user], [password], [domain], [timeout = 30])
tvnPlay(inText, [timeout = 600])
tvnExit([timeout = 10])
"""

import sys

import win32com.client

# What a Status other than 1 means, and what to do; the first two are those of tvnInit.
INIT_HELP = {
    -1: ("The browser was not found, could not be started, or refused this client.",
         "Install Edge, Chrome or Chromium. To see why, run: tvntrace --explain COMMAND"),
    -3: ("The browser was started but did not report in time.",
         "Give tvnInit more time. Internet Explorer and Firefox need the add-on, too."),
}
HELP = {
    -1: ("The browser has gone, its answer cannot be read, or another command runs.",
         "Call tvnExit and tvnInit, then try again."),
    -2: ("The browser did not complete the macro.", "tvnGetLastError may tell why."),
    -3: ("The browser did not answer in time. A macro goes on running.",
         "Give the call more time, or close the browser with tvnExit."),
    -4: ("No browser is attached.", "Call tvnInit first, and look at its Status."),
    -6: ("The runner service did not answer.", "Start the service, or leave -runner out."),
    -7: ("As many browsers run as may run.", "Wait until one of them has ended, then try again."),
    -20: ("The object has a browser already, or is about to get one.",
          "Call tvnExit first, or take another object."),
    -100: ("The macro stopped with an error.",
           "tvnGetLastError tells which; mend the macro or its variables."),
}
OTHER_HELP = ("The browser or the runner service answered with a number of its own.",
              "Its documents tell what it means.")


def status_help(method, status):
    helps = {**HELP, **INIT_HELP} if method == "tvnInit" else HELP
    return "cause: %s\nremedy: %s" % helps.get(status, OTHER_HELP)


def succeeded(app, method, status):
    """Prints the Status of a method; any other than 1 is explained."""
    print(f"{method}: {status}")
    if status == 1:
        return True
    if method != "tvnExit" and app.tvnGetLastError():
        print("error text:", app.tvnGetLastError())
    print(status_help(method, status))
    return False


def main():
    macro = sys.argv[1] if len(sys.argv) > 1 else "Hotel Search"
    app = win32com.client.gencache.EnsureDispatch("talvern")  # knows the names of the parameters
    if not succeeded(app, "tvnInit", app.tvnInit(timeout=60)):
        return False
    played = closed = False
    try:  # whatever goes wrong in here, the browser is closed
        app.tvnSet("city", "New York")
        app.tvnSet("nights", "3")
        played = succeeded(app, "tvnPlay", app.tvnPlay(macro, timeout=120))
        for index in range(1, 32768):
            piece = app.tvnGetLastExtract(index)
            if piece == "NODATA":
                break
            print(f"{index}: {piece}")
    finally:
        closed = succeeded(app, "tvnExit", app.tvnExit(timeout=10))
    return played and closed


if __name__ == "__main__":
    sys.exit(0 if main() else 1)
