// One whole cycle in JScript: starts a browser, gives values to variables, plays a macro, prints
// what it extracted, and closes the browser. A step that fails is explained, and the script then
// ends with exit code 1.
//
//     cscript //nologo play.js [MACRO [COMMAND LINE OF tvnInit [SECONDS]]]

var app = new ActiveXObject("talvern");
var macro = argument(0, "Hotel Search");
var commandLine = argument(1, "");
var seconds = Number(argument(2, 60));
var failed = false;

if (succeeded("tvnInit", app.tvnInit(commandLine, true, "", "", "", seconds))) {
    // Whatever goes wrong in there, the browser is closed.
    try {
        playMacro();
    } catch (error) {
        failed = true;
        WScript.Echo("error in the script: " + error.message);
    }
    succeeded("tvnExit", app.tvnExit());
}
WScript.Quit(failed ? 1 : 0);

function playMacro() {
    app.tvnSet("city", "New York");
    app.tvnSet("nights", "3");
    succeeded("tvnPlay", app.tvnPlay(macro, seconds));
    for (var index = 1; index <= 32767; index++) {
        var piece = app.tvnGetLastExtract(index);
        if (piece == "NODATA") {
            break;
        }
        WScript.Echo(index + ": " + piece);
    }
}

function argument(index, fallback) {
    return WScript.Arguments.length > index ? WScript.Arguments.Item(index) : fallback;
}

// Prints the Status of a method; any other than 1 is explained and remembered.
function succeeded(method, status) {
    WScript.Echo(method + ": " + status);
    if (status == 1) {
        return true;
    }
    failed = true;
    if (method != "tvnExit" && app.tvnGetLastError() != "") {
        WScript.Echo("error text: " + app.tvnGetLastError());
    }
    WScript.Echo(statusHelp(method, status));
    return false;
}

// What a Status other than 1 means, and what to do.
function statusHelp(method, status) {
    var help = function (cause, remedy) {
        return "cause: " + cause + "\r\nremedy: " + remedy;
    };
    switch (status) {
    case -1:
        return method == "tvnInit"
            ? help("The browser was not found, could not be started, or refused this client.",
                   "Install Edge, Chrome or Chromium. To see why, run: tvntrace --explain COMMAND")
            : help("The browser has gone, its answer cannot be read, or another command runs.",
                   "Call tvnExit and tvnInit, then try again.");
    case -2:
        return help("The browser did not complete the macro.",
                    "tvnGetLastError may tell why.");
    case -3:
        return method == "tvnInit"
            ? help("The browser was started but did not report in time.",
                   "Give tvnInit more time. Internet Explorer and Firefox need the add-on, too.")
            : help("The browser did not answer in time. A macro goes on running.",
                   "Give the call more time, or close the browser with tvnExit.");
    case -4:
        return help("No browser is attached.",
                    "Call tvnInit first, and look at its Status.");
    case -6:
        return help("The runner service did not answer.",
                    "Start the service, or leave -runner out.");
    case -7:
        return help("As many browsers run as may run.",
                    "Wait until one of them has ended, then try again.");
    case -20:
        return help("The object has a browser already, or is about to get one.",
                    "Call tvnExit first, or take another object.");
    case -100:
        return help("The macro stopped with an error.",
                    "tvnGetLastError tells which; mend the macro or its variables.");
    default:
        return help("The browser or the runner service answered with a number of its own.",
                    "Its documents tell what it means.");
    }
}
