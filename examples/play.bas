Attribute VB_Name = "TalvernPlay"
' One whole cycle in VBA: starts a browser, gives values to variables, plays a macro, prints what it
' extracted, and closes the browser. A step that fails is explained. The function answers 0, or
' the number of steps that failed. Office must be the 64-bit one; import this file in its editor and
' add the reference "Talvern Scripting Interface" (Tools, References).
'
' tvnInit([commandLine], [openNewBrowser = True], [user], [password], [domain], [timeout = 30])
' tvnPlay(inText, [timeout = 600])
' tvnExit([timeout = 10])

Option Explicit

Private app As Talvern.App
Private failures As Long

Public Function PlayMacro(Optional ByVal macro As String = "Hotel Search") As Long
    Dim index As Long, piece As String
    failures = 0
    Set app = New Talvern.App
    If Succeeded("tvnInit", app.tvnInit(timeout:=60)) Then
        On Error GoTo Closing ' whatever goes wrong from here, the browser is closed
        app.tvnSet sVariable:="city", sValue:="New York"
        app.tvnSet sVariable:="nights", sValue:="3"
        Succeeded "tvnPlay", app.tvnPlay(inText:=macro, timeout:=120)
        For index = 1 To 32767
            piece = app.tvnGetLastExtract(index:=index)
            If piece = "NODATA" Then Exit For
            Debug.Print index & ": " & piece
        Next
Closing:
        If Err.Number <> 0 Then
            failures = failures + 1
            Debug.Print "error in the program: " & Err.Description
        End If
        Succeeded "tvnExit", app.tvnExit(timeout:=10)
    End If
    Set app = Nothing
    PlayMacro = failures
End Function

' Prints the Status of a method; any other than 1 is explained and counted.
Private Function Succeeded(method As String, status As Long) As Boolean
    Debug.Print method & ": " & status
    Succeeded = (status = sOk)
    If Succeeded Then Exit Function
    failures = failures + 1
    If method <> "tvnExit" And app.tvnGetLastError() <> "" Then
        Debug.Print "error text: " & app.tvnGetLastError()
    End If
    Debug.Print StatusHelp(method, status)
End Function

' What a Status other than 1 means, and what to do.
Private Function StatusHelp(method As String, status As Long) As String
    Dim cause As String, remedy As String
    Select Case status
    Case sFail
        If method = "tvnInit" Then
            cause = "The browser was not found, could not be started, or refused this client."
            remedy = "Install Edge, Chrome or Chromium. To see why, run: tvntrace --explain COMMAND"
        Else
            cause = "The browser has gone, its answer cannot be read, or another command runs."
            remedy = "Call tvnExit and tvnInit, then try again."
        End If
    Case sNotCompleted
        cause = "The browser did not complete the macro."
        remedy = "tvnGetLastError may tell why."
    Case sTimeout
        If method = "tvnInit" Then
            cause = "The browser was started but did not report in time."
            remedy = "Give tvnInit more time. Internet Explorer and Firefox need the add-on, too."
        Else
            cause = "The browser did not answer in time. A macro goes on running."
            remedy = "Give the call more time, or close the browser with tvnExit."
        End If
    Case sNotStarted
        cause = "No browser is attached."
        remedy = "Call tvnInit first, and look at its Status."
    Case sRunnerNotReachable
        cause = "The runner service did not answer."
        remedy = "Start the service, or leave -runner out."
    Case sInstancesCountLimitReached
        cause = "As many browsers run as may run."
        remedy = "Wait until one of them has ended, then try again."
    Case sInternal
        cause = "The object has a browser already, or is about to get one."
        remedy = "Call tvnExit first, or take another object."
    Case sMacroError
        cause = "The macro stopped with an error."
        remedy = "tvnGetLastError tells which; mend the macro or its variables."
    Case Else
        cause = "The browser or the runner service answered with a number of its own."
        remedy = "Its documents tell what it means."
    End Select
    StatusHelp = "cause: " & cause & vbCrLf & "remedy: " & remedy
End Function
