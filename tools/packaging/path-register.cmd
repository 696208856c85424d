@echo off
rem Puts this folder on the path of all users, or takes it off again. Called with "add" or "remove" by
rem register.cmd and unregister.cmd, which have seen that this is an administrator.
setlocal
set "FOLDER=%~dp0"
set "FOLDER=%FOLDER:~0,-1%"
set "SYSTEM=%SystemRoot%\System32"
if defined PROCESSOR_ARCHITEW6432 set "SYSTEM=%SystemRoot%\Sysnative"
set "KEY=HKLM\SYSTEM\CurrentControlSet\Control\Session Manager\Environment"
rem A path longer than a line of a batch file can be is left alone.
"%SYSTEM%\reg.exe" query "%KEY%" /v Path >"%FOLDER%\path.txt"
set "SIZE=9999"
for %%f in ("%FOLDER%\path.txt") do set "SIZE=%%~zf"
del "%FOLDER%\path.txt"
if %SIZE% gtr 7500 exit /b 0
set "OLD="
for /f "tokens=2" %%a in ('%SYSTEM%\reg.exe query "%KEY%" /v Path') do set "KIND=%%a"
for /f "tokens=2*" %%a in ('%SYSTEM%\reg.exe query "%KEY%" /v Path') do set "OLD=%%b"
if not defined OLD exit /b 0

rem The path without this folder; for that, the folder's name has to be written into a batch file.
echo set "REST=%%OLD:;%FOLDER%=%%">"%FOLDER%\rest.cmd"
call "%FOLDER%\rest.cmd"
del "%FOLDER%\rest.cmd"
if "%1"=="add" set "REST=%REST%;%FOLDER%"
if "%REST%"=="%OLD%" exit /b 0
"%SYSTEM%\reg.exe" add "%KEY%" /v Path /t %KIND% /d "%REST%" /f >nul 2>&1
