' Two Firefox instances run. The first object takes one of them, the second finds the other one, and
' for the third one a new browser is started.
'
' What each one was started with tells them apart: a new one was given a start page.

Option Explicit

Dim apps(2), i, status
For i = 0 To 2
    Set apps(i) = CreateObject("talvern")
    status = apps(i).tvnInit("-fx", False)
    WScript.Echo "object " & (i + 1) & ": tvnInit:", status
    If status <> 1 Then WScript.Quit 1
    apps(i).tvnPlay "!commandline"
    WScript.Echo "object " & (i + 1) & ": plays in", apps(i).tvnGetLastExtract()
Next

For i = 0 To 2
    WScript.Echo "object " & (i + 1) & ": tvnExit:", apps(i).tvnExit()
Next
