' Plays one macro for each line of a list, tries again what fails, and writes a log.
'
'     cscript //nologo list_with_retry.vbs LIST.txt LOG.txt [MACRO [SECONDS]]
'
' The macro, "Hotel Search" unless another is named, finds the line in the variable "city". One that
' stopped with an error is played again in the same browser; after any other failure a new browser is
' started. The exit code is the number of lines that failed in the end.

Option Explicit

Const kAttempts = 3
Const kPause = 2000 ' milliseconds

If WScript.Arguments.Count < 2 Then
    WScript.Echo "usage: cscript //nologo list_with_retry.vbs LIST.txt LOG.txt [MACRO [SECONDS]]"
    WScript.Quit 2
End If

Dim files, list, log, macro, seconds
Set files = CreateObject("Scripting.FileSystemObject")
Set list = files.OpenTextFile(WScript.Arguments(0))
Set log = files.OpenTextFile(WScript.Arguments(1), 8, True, -1) ' append; make it; UTF-16
macro = "Hotel Search"
seconds = 60
If WScript.Arguments.Count > 2 Then macro = WScript.Arguments(2)
If WScript.Arguments.Count > 3 Then seconds = CLng(WScript.Arguments(3))

Dim app, attached, item, failures
Set app = CreateObject("talvern")
attached = False
failures = 0
Do Until list.AtEndOfStream
    item = Trim(list.ReadLine)
    If item <> "" Then
        If Not Done(item) Then failures = failures + 1
    End If
Loop
Detach
Note "end, " & failures & " failed"
WScript.Quit failures

Function Done(item)
    Dim attempt, status
    Done = False
    For attempt = 1 To kAttempts
        If attempt > 1 Then Pause
        status = PlayFor(item)
        Note item & ", attempt " & attempt & ": " & status & " " & Result(status)
        If status = 1 Then
            Done = True
            Exit Function
        End If
        ' The browser may be gone, or busy with this macro for a long time yet.
        If status <> -100 Then Detach
    Next
End Function

Function PlayFor(item)
    If Not attached Then
        PlayFor = app.tvnInit("", True, , , , seconds)
        attached = (PlayFor = 1)
        If Not attached Then
            Set app = CreateObject("talvern") ' nothing of the failed start is kept
            Exit Function
        End If
    End If
    app.tvnSet "city", item
    PlayFor = app.tvnPlay(macro, seconds)
End Function

Function Result(status)
    If Not attached Then
        Result = "tvnInit; see why: tvntrace --explain cscript //nologo " & WScript.ScriptName
    ElseIf status = 1 Then
        Result = Replace(app.tvnGetLastExtract(), "[EXTRACT]", "; ")
    Else
        Result = app.tvnGetLastError()
    End If
End Function

Sub Detach()
    If attached Then app.tvnExit
    attached = False
End Sub

Sub Note(text)
    log.WriteLine Now & " " & text
    WScript.Echo text
End Sub

Sub Pause()
    On Error Resume Next ' some hosts cannot sleep; they go on at once
    WScript.Sleep kPause
End Sub
