// Every method from the other language of the script host.
var app = WScript.CreateObject("talvern");
WScript.Echo(app.tvnGetInterfaceVersion());
WScript.Echo(app.tvnInit(""), app.tvnInit());
WScript.Echo(app.tvnSet("a", "1"), app.tvnPlay("macro", 20), app.tvnGetLastExtract());
for (var i = 1; i <= 3; i++) {
    WScript.Echo(i, app.tvnGetLastExtract(i));
}
WScript.Echo(app.tvnGetLastExtract(1.0), app.tvnGetLastExtract("2"), app.tvnGetLastExtract(null));
WScript.Echo(app.tvnPlay("!status 2\n!reply e[tvn!E!tvn]x"), app.tvnGetLastError());
WScript.Echo(app.tvnDisplay("shown"), app.tvnExit(), app.tvnPlay("m"));
