' Writes the rows of a web table into a file that a spreadsheet opens with a double click, in columns
' and with all characters, whatever the country settings are: UTF-16 with its mark in front, and a
' tab between two cells.
'
'     cscript //nologo table_to_csv.vbs FILE.csv PAGE [FILE WITH A MACRO]
'
' PAGE is the address of the page with the table, which the macro finds in the variable "page". The
' macro extracts one piece for each row, with a tab between two cells. This one is for Talvern's own
' browser; the macro for another one comes from a file.

Option Explicit

Const kMacro = "await page.goto(vars.page); const rows = await page.evaluate(() => Array.from(document.querySelectorAll('tr'), row => Array.from(row.cells, cell => cell.innerText).join('\t'))); for (const row of rows) extract(row);"

If WScript.Arguments.Count < 2 Then
    WScript.Echo "usage: cscript //nologo table_to_csv.vbs FILE.csv PAGE [FILE WITH A MACRO]"
    WScript.Quit 2
End If

Dim files, macro
Set files = CreateObject("Scripting.FileSystemObject")
macro = kMacro
If WScript.Arguments.Count > 2 Then macro = files.OpenTextFile(WScript.Arguments(2)).ReadAll()

Dim app, status, written
Set app = CreateObject("talvern")
status = app.tvnInit()
WScript.Echo "tvnInit: " & status
If status <> 1 Then
    WScript.Echo "No browser. To see why, run: tvntrace --explain cscript //nologo " & WScript.ScriptName
    WScript.Quit 1
End If

app.tvnSet "page", WScript.Arguments(1)
status = app.tvnPlay(macro, 60)
WScript.Echo "tvnPlay: " & status & " " & app.tvnGetLastError()
written = False
If status = 1 Then
    On Error Resume Next ' a file that cannot be written must not keep the browser open
    WriteRows files, WScript.Arguments(0)
    written = (Err.Number = 0)
    If Not written Then WScript.Echo "cannot write " & WScript.Arguments(0) & ": " & Err.Description
    On Error GoTo 0
End If
status = app.tvnExit()
WScript.Echo "tvnExit: " & status
If Not written Or status <> 1 Then WScript.Quit 1

Sub WriteRows(files, path)
    Dim file, row, index, cell, cells, line
    Set file = files.CreateTextFile(path, True, True) ' overwrite; UTF-16
    For index = 1 To 32767
        row = app.tvnGetLastExtract(index)
        If row = "NODATA" Then Exit For
        cells = Split(row, vbTab)
        line = ""
        For Each cell In cells
            line = line & vbTab & Quoted(cell)
        Next
        file.WriteLine Mid(line, 2)
    Next
    file.Close
    WScript.Echo "rows: " & index - 1
End Sub

' A cell in quotes if it holds what would end it. A text from a page that looks like a formula gets
' an apostrophe in front: a spreadsheet would calculate it.
Function Quoted(cell)
    Quoted = cell
    If InStr("=+@", Left(cell, 1)) > 0 And cell <> "" Then Quoted = "'" & cell
    If Left(cell, 1) = "-" And Not IsNumeric(cell) Then Quoted = "'" & cell
    If InStr(cell, """") > 0 Or InStr(cell, vbLf) > 0 Or InStr(cell, vbCr) > 0 Then
        Quoted = """" & Replace(Quoted, """", """""") & """"
    End If
End Function
