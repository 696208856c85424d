' One whole cycle in VBScript: starts a browser, gives values to variables, plays a macro, prints
' what it extracted, and closes the browser. A step that fails is explained, and the script then
' ends with exit code 1.
'
'     cscript //nologo play.vbs [MACRO [COMMAND LINE OF tvnInit [SECONDS]]]

Option Explicit

Dim macro, commandLine, seconds
macro = Argument(0, "Hotel Search")
commandLine = Argument(1, "")
seconds = CLng(Argument(2, 60))

Dim app, failed
failed = False
Set app = CreateObject("talvern")
If Succeeded("tvnInit", app.tvnInit(commandLine, True, , , , seconds)) Then
    ' Whatever goes wrong in there, the browser is closed.
    On Error Resume Next
    PlayMacro
    If Err.Number <> 0 Then
        failed = True
        WScript.Echo "error in the script: " & Err.Description
    End If
    On Error GoTo 0
    Succeeded "tvnExit", app.tvnExit()
End If
If failed Then WScript.Quit 1

Sub PlayMacro()
    Dim index, piece
    app.tvnSet "city", "New York"
    app.tvnSet "nights", "3"
    Succeeded "tvnPlay", app.tvnPlay(macro, seconds)
    For index = 1 To 32767
        piece = app.tvnGetLastExtract(index)
        If piece = "NODATA" Then Exit For
        WScript.Echo index & ": " & piece
    Next
End Sub

Function Argument(index, default)
    Argument = default
    If WScript.Arguments.Count > index Then Argument = WScript.Arguments(index)
End Function

' Prints the Status of a method; any other than 1 is explained and remembered.
Function Succeeded(method, status)
    WScript.Echo method & ": " & status
    Succeeded = (status = 1)
    If Succeeded Then Exit Function
    failed = True
    If method <> "tvnExit" And app.tvnGetLastError() <> "" Then
        WScript.Echo "error text: " & app.tvnGetLastError()
    End If
    WScript.Echo StatusHelp(method, status)
End Function

' What a Status other than 1 means, and what to do.
Function StatusHelp(method, status)
    Dim cause, remedy
    Select Case status
    Case -1
        If method = "tvnInit" Then
            cause = "The browser was not found, could not be started, or refused this client."
            remedy = "Install Edge, Chrome or Chromium. To see why, run: tvntrace --explain COMMAND"
        Else
            cause = "The browser has gone, its answer cannot be read, or another command runs."
            remedy = "Call tvnExit and tvnInit, then try again."
        End If
    Case -2
        cause = "The browser did not complete the macro."
        remedy = "tvnGetLastError may tell why."
    Case -3
        If method = "tvnInit" Then
            cause = "The browser was started but did not report in time."
            remedy = "Give tvnInit more time. Internet Explorer and Firefox need the add-on, too."
        Else
            cause = "The browser did not answer in time. A macro goes on running."
            remedy = "Give the call more time, or close the browser with tvnExit."
        End If
    Case -4
        cause = "No browser is attached."
        remedy = "Call tvnInit first, and look at its Status."
    Case -6
        cause = "The runner service did not answer."
        remedy = "Start the service, or leave -runner out."
    Case -7
        cause = "As many browsers run as may run."
        remedy = "Wait until one of them has ended, then try again."
    Case -20
        cause = "The object has a browser already, or is about to get one."
        remedy = "Call tvnExit first, or take another object."
    Case -100
        cause = "The macro stopped with an error."
        remedy = "tvnGetLastError tells which; mend the macro or its variables."
    Case Else
        cause = "The browser or the runner service answered with a number of its own."
        remedy = "Its documents tell what it means."
    End Select
    StatusHelp = "cause: " & cause & vbCrLf & "remedy: " & remedy
End Function
