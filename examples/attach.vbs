' Two Firefox instances run. The first object takes one of them, the second finds the other one, and
' for the third one a new browser is started.
'
' What each one was started with tells them apart: a new one was given a start page.

Option Explicit

Dim apps(2), i, status, failed
failed = False
For i = 0 To 2
    Set apps(i) = CreateObject("talvern")
    status = apps(i).tvnInit("-fx", False)
    WScript.Echo "object " & (i + 1) & ": tvnInit:", status
    If status = 1 Then
        status = apps(i).tvnPlay("!commandline")
        WScript.Echo "object " & (i + 1) & ": tvnPlay:", status
        WScript.Echo "object " & (i + 1) & ": plays in", apps(i).tvnGetLastExtract()
    End If
    If status <> 1 Then failed = True
Next

For i = 0 To 2
    status = apps(i).tvnExit()
    WScript.Echo "object " & (i + 1) & ": tvnExit:", status
    If status <> 1 Then failed = True
Next
If failed Then WScript.Quit 1
