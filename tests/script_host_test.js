// Every method from the other language of the script host.
var app = WScript.CreateObject("talvern");
WScript.Echo("version:", app.tvnGetInterfaceVersion());
WScript.Echo("two inits:", app.tvnInit(""), app.tvnInit());
WScript.Echo("set, play, extract:", app.tvnSet("a", "1"), app.tvnPlay("macro", 20), app.tvnGetLastExtract());
for (var i = 1; i <= 3; i++) {
    WScript.Echo("piece " + i + ":", app.tvnGetLastExtract(i));
}
WScript.Echo("pieces 1.0, '2', null:", app.tvnGetLastExtract(1.0), app.tvnGetLastExtract("2"), app.tvnGetLastExtract(null));
WScript.Echo("error:", app.tvnPlay("!status 2\n!reply e[tvn!E!tvn]x"), app.tvnGetLastError());
WScript.Echo("display, exit, play:", app.tvnDisplay("shown"), app.tvnExit(), app.tvnPlay("m"));
