' Takes browsers that run and are free: with two of them, the first object takes one, the second finds
' the other, and for the third a new browser is started.
'
'     cscript //nologo attach.vbs [MACRO]
'
' With the stand-ins of the source tree, the macro "!commandline" shows which is which: the command line
' of a new one has two identifiers.

Option Explicit

Dim apps(2), i, status, failed, macro
macro = "Hotel Search"
If WScript.Arguments.Count > 0 Then macro = WScript.Arguments(0)
failed = False
For i = 0 To 2
    Set apps(i) = CreateObject("talvern")
    status = apps(i).tvnInit("", False)
    WScript.Echo "object " & (i + 1) & ": tvnInit:", status
    If status = 1 Then
        status = apps(i).tvnPlay(macro, 60)
        WScript.Echo "object " & (i + 1) & ": tvnPlay:", status, apps(i).tvnGetLastError()
        WScript.Echo "object " & (i + 1) & ": [" & apps(i).tvnGetLastExtract() & "]"
    End If
    If status <> 1 Then failed = True
Next

For i = 0 To 2
    status = apps(i).tvnExit()
    WScript.Echo "object " & (i + 1) & ": tvnExit:", status
    If status <> 1 Then failed = True
Next
If failed Then WScript.Quit 1
