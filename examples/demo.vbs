' Plays one macro and prints every answer. Ends with exit code 1 when one is not 1.
'
'     cscript //nologo demo.vbs [COMMAND LINE OF tvnInit]

Option Explicit

Dim commandLine
If WScript.Arguments.Count > 0 Then commandLine = WScript.Arguments(0)

Dim app
Set app = CreateObject("talvern")
WScript.Echo "tvnGetInterfaceVersion:", app.tvnGetInterfaceVersion()

Dim status
status = app.tvnInit(commandLine)
WScript.Echo "tvnInit:", status
If status <> 1 Then
    WScript.Echo "No browser. To see why, run: tvntrace --explain cscript //nologo " & WScript.ScriptName
    WScript.Quit 1
End If

WScript.Echo "tvnSet city:", app.tvnSet("city", "New York")
WScript.Echo "tvnSet nights:", app.tvnSet("nights", "3")

Dim played
played = app.tvnPlay("Hotel Search", 20)
WScript.Echo "tvnPlay:", played
WScript.Echo "tvnGetLastError: [" & app.tvnGetLastError() & "]"
WScript.Echo "tvnGetLastExtract: [" & app.tvnGetLastExtract() & "]"

Dim i, piece
For i = 1 To 100
    piece = app.tvnGetLastExtract(i)
    If piece = "NODATA" Then Exit For
    WScript.Echo "tvnGetLastExtract " & i & ": [" & piece & "]"
Next

WScript.Echo "tvnDisplay:", app.tvnDisplay("Found " & (i - 1) & " pieces.")
status = app.tvnExit()
WScript.Echo "tvnExit:", status
If played <> 1 Or status <> 1 Then WScript.Quit 1
