' Has a macro search hotels in a web page, and prints the rows that it finds.
'
'     cscript //nologo hotels.vbs ADDRESS [attach] [COMMAND LINE OF tvnInit]
'
' ADDRESS is where the pages of the folder "site" are served, such as http://127.0.0.1:8000 after
' "python -m http.server" in that folder. With the word "attach", a browser that runs already is taken.

Option Explicit

Dim i, address, commandLine, openNew
openNew = True
For i = 0 To WScript.Arguments.Count - 1
    If i = 0 Then
        address = WScript.Arguments(i)
    ElseIf WScript.Arguments(i) = "attach" Then
        openNew = False
    Else
        commandLine = WScript.Arguments(i)
    End If
Next
If address = "" Then
    WScript.Echo "hotels.vbs: the address of the folder site is missing"
    WScript.Quit 2
End If

Dim macro
macro = _
    "await page.goto(options.site + '/index.html');" & vbLf & _
    "await page.fill('#city', vars.city);" & vbLf & _
    "await page.fill('#nights', vars.nights);" & vbLf & _
    "await page.selectOption('#room', 'Double');" & vbLf & _
    "await page.check('#breakfast');" & vbLf & _
    "await page.click('#search');" & vbLf & _
    "await page.waitForSelector('#hotels tbody tr');" & vbLf & _
    "const rows = await page.evaluate(() =>" & vbLf & _
    "  [...document.querySelectorAll('#hotels tbody tr')].map((row) =>" & vbLf & _
    "    [...row.cells].map((cell) => cell.textContent).join(', ')));" & vbLf & _
    "extract(...rows);"

Dim app, status, piece
Set app = CreateObject("talvern")
status = app.tvnInit(commandLine, openNew)
WScript.Echo "tvnInit:", status
If status <> 1 Then
    WScript.Echo "No browser. To see why, run: tvntrace --explain cscript //nologo " & WScript.ScriptName & " " & address
    WScript.Quit 1
End If

app.tvnSet "-site", address
app.tvnSet "city", "New York"
app.tvnSet "nights", "3"
status = app.tvnPlay(macro, 60)
WScript.Echo "tvnPlay:", status
If status <> 1 Then
    WScript.Echo app.tvnGetLastError()
    app.tvnExit
    WScript.Quit 1
End If
For i = 1 To 1000
    piece = app.tvnGetLastExtract(i)
    If piece = "NODATA" Then Exit For
    WScript.Echo "  " & piece
Next

WScript.Echo "tvnDisplay:", app.tvnDisplay((i - 1) & " hotels found")
Dim drawn
drawn = app.tvnPlay("extract(await page.screenshot({ path: 'hotels.png' }));", 60)
WScript.Echo "tvnPlay:", drawn
If drawn = 1 Then
    WScript.Echo "The page is drawn in " & app.tvnGetLastExtract(1)
Else
    WScript.Echo app.tvnGetLastError()
End If
status = app.tvnExit()
WScript.Echo "tvnExit:", status
If drawn <> 1 Or status <> 1 Then WScript.Quit 1
