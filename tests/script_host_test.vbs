' Every method, with literals, variables, expressions and left-out arguments.
Option Explicit
Dim app, other, name, value, i, n, timeout, kind, status
Set app = CreateObject("talvern")
WScript.Echo app.tvnGetInterfaceVersion()
WScript.Echo app.tvnPlay("m"), app.tvnDisplay("t"), app.tvnExit(), "[" & app.tvnGetLastError() & "]"

WScript.Echo app.tvnInit(), app.tvnInit()
name = "a"
value = "1 2"
WScript.Echo app.tvnSet(name, value), app.tvnSet("b", "x" & vbCrLf & "y")
timeout = 20
WScript.Echo app.tvnPlay("macro", timeout)
WScript.Echo Replace(Replace(app.tvnGetLastExtract(), vbCr, "\r"), vbLf, "\n")
n = 4
For i = 0 To n
    WScript.Echo i & ":" & Replace(Replace(app.tvnGetLastExtract(i), vbCr, "\r"), vbLf, "\n")
Next
WScript.Echo app.tvnGetLastExtract(CDbl(2)), app.tvnGetLastExtract("2"), app.tvnGetLastExtract("no")
WScript.Echo app.tvnGetLastExtract(-1), Len(app.tvnGetLastExtract(Empty)) - Len(app.tvnGetLastExtract(0))
WScript.Echo app.tvnPlay("!status -100" & vbLf & "!reply Stopped[tvn!E!tvn]"), app.tvnGetLastError()
WScript.Echo app.tvnDisplay("shown"), app.tvnPlay("!displayed"), app.tvnGetLastExtract()
WScript.Echo app.tvnExit(timeout), app.tvnExit(5)

kind = "-fx"
WScript.Echo app.tvnInit(kind, True, , , , 20), app.tvnExit()
' The logon service is not there: credentials fail, stay, and do not matter for one that runs.
Dim user, password
user = "somebody"
password = "secret"
WScript.Echo app.tvnInit("-fx", True, "somebody", "secret", "domain"), app.tvnInit(kind, True, user, password)
Set other = CreateObject("talvern")
WScript.Echo other.tvnInit("-fx"), app.tvnInit(, , , , , 20)
Set other = Nothing
WScript.Echo app.tvnInit(kind, False), app.tvnExit(), app.tvnInit(), app.tvnExit()
