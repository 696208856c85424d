' Two browsers at once: what is found in the first is looked up in the second, and both stay open
' from the first line of the list to the last.
'
'     cscript //nologo two_browsers.vbs [MACRO OF THE FIRST [MACRO OF THE SECOND]]
'
' A script plays one macro after the other. For plays that run at the same time take one process, or
' one thread, for each browser: cpp/two_at_once.cpp.

Option Explicit

Dim first, second, macros(1), failed
macros(0) = "Hotel Search"
macros(1) = "await page.goto('data:text/html,<h1>' + vars.name); extract(await page.textContent('h1'));"
If WScript.Arguments.Count > 0 Then macros(0) = WScript.Arguments(0)
If WScript.Arguments.Count > 1 Then macros(1) = WScript.Arguments(1)

failed = False
Set first = CreateObject("talvern")
Set second = CreateObject("talvern")
If Succeeded(first, "first: tvnInit", first.tvnInit()) Then
    If Succeeded(second, "second: tvnInit", second.tvnInit()) Then LookUpEach
End If
' The one that has no browser answers -4, which is no failure here.
WScript.Echo "first: tvnExit: " & first.tvnExit()
WScript.Echo "second: tvnExit: " & second.tvnExit()
If failed Then WScript.Quit 1

Sub LookUpEach()
    Dim index, found
    first.tvnSet "city", "New York"
    If Not Succeeded(first, "first: tvnPlay", first.tvnPlay(macros(0), 60)) Then Exit Sub
    For index = 1 To 32767
        found = first.tvnGetLastExtract(index)
        If found = "NODATA" Then Exit Sub
        second.tvnSet "name", found
        If Succeeded(second, "second: tvnPlay", second.tvnPlay(macros(1), 60)) Then
            WScript.Echo found & " -> " & second.tvnGetLastExtract()
        End If
    Next
End Sub

Function Succeeded(app, label, status)
    WScript.Echo label & ": " & status & " " & app.tvnGetLastError()
    Succeeded = (status = 1)
    If Not Succeeded Then failed = True
End Function
