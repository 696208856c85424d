' Every method, with literals, variables, expressions and left-out arguments.
Option Explicit
Dim app, other, item, name, value, kind, user, password, timeout
Set app = CreateObject("talvern")

Function Texts()
    Dim i, all, piece
    all = app.tvnGetLastError() & "|" & app.tvnGetLastExtract()
    For i = 1 To 6
        piece = app.tvnGetLastExtract(i)
        If piece <> "NODATA" Then all = all & "|" & piece
    Next
    Texts = Replace(Replace(Replace(all, vbCr, "\r"), vbLf, "\n"), Chr(0), "\0")
End Function

Sub Play(macro) ' with slashes for line feeds
    WScript.Echo "play " & Replace(macro, Chr(0), "\0") & ":", app.tvnPlay(Replace(macro, "/", vbLf)) & "|" & Texts()
End Sub

WScript.Echo "version, set, texts:", app.tvnGetInterfaceVersion(), app.tvnSet("lost", "1"), Texts()
WScript.Echo "before tvnInit:", app.tvnPlay("m"), app.tvnDisplay("t"), app.tvnExit()
timeout = 20
WScript.Echo "init:", app.tvnInit(, , , , , timeout)
name = "city"
value = "New York"
WScript.Echo "set variables:", app.tvnSet(name, value), app.tvnSet("-fast", "1 2")
WScript.Echo "set others:", app.tvnSet("x-y", "a" & vbCrLf & "[SP]b"), app.tvnSet(vbNullString, vbNullString)
Play "Search/now please"
Play "a" & Chr(0) & "b"
Play "!status -1/!reply Wrong[tvn!E!tvn]x[EXTRACT]y"
Play "!status 2/!reply Done[tvn!E!tvn][EXTRACT]b[EXTRACT]"
Play "!status 70000/!reply [tvn!E!tvn]x"
Play "!reply a[tvn!E!tvn]b[tvn!E!tvn]c"
Play "!status -100"
Play "!status -5/!reply old[tvn!E!tvn]x[EXTRACT]y"
WScript.Echo "set, display, texts:", app.tvnSet("v", 1), app.tvnDisplay("a b" & vbCrLf & "c", timeout), Texts()
Play "m"
Play "!displayed"

Play "!reply one[EXTRACT]two"
For Each item In Array(2, CDbl(2), CLng(2), CByte(2), "2", -1, 3, 32767, 32768, 65537, 1E12, "x", Null, True, Empty, 0, "0")
    WScript.Echo TypeName(item) & " " & item & ":", app.tvnGetLastExtract(item)
Next
WScript.Echo "set, init while attached, texts:", app.tvnSet("v", "1"), app.tvnInit("-fx"), Texts()
Play "!status -5/!reply old[tvn!E!tvn]x"
WScript.Echo "exit, texts, exit:", app.tvnExit(timeout), Texts(), app.tvnExit(5)

kind = "-fx"
WScript.Echo "init and exit of a Firefox:", app.tvnInit(kind, True, , , , 20), app.tvnExit()
' The logon service is not there: credentials fail, stay, and do not matter for one that runs.
user = "somebody"
password = "secret"
WScript.Echo "credentials:", app.tvnInit("-fx", True, "somebody", "secret", "domain"), app.tvnInit(kind, True, user, password)
Set other = CreateObject("talvern")
WScript.Echo "without a name, with the kept one:", other.tvnInit("-fx"), app.tvnInit(, , , , , 20)
Set other = Nothing
' A browser takes a moment to see that it has been let go.
Set other = CreateObject("talvern")
WScript.Echo "another browser:", other.tvnInit(), other.tvnPlay("!wait 1000"), other.tvnExit()
WScript.Echo "the one that runs, a new one:", app.tvnInit(kind, False), app.tvnExit(), app.tvnInit(), app.tvnExit()
