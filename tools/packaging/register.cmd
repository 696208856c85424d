@echo off
rem Registers the scripting object of this folder for all users of this machine, and puts the folder
rem on the path, so that tvntrace is found by its name. A folder that is to move is unregistered first.
setlocal
set "FOLDER=%~dp0"
set "FOLDER=%FOLDER:~0,-1%"
set "SYSTEM=%SystemRoot%\System32"
if defined PROCESSOR_ARCHITEW6432 set "SYSTEM=%SystemRoot%\Sysnative"

if /i "%PROCESSOR_ARCHITECTURE%"=="AMD64" goto windows64
if /i "%PROCESSOR_ARCHITEW6432%"=="AMD64" goto windows64
echo talvern.dll needs 64-bit Windows on an x86-64 processor; this is not one. Nothing was changed.
exit /b 1

:windows64
if exist "%FOLDER%\talvern.dll" goto complete
echo talvern.dll is not beside this file. Take all files out of the archive into a folder that stays,
echo and run register.cmd there. Nothing was changed.
exit /b 2

:complete
"%SYSTEM%\reg.exe" add HKLM\SOFTWARE\Talvern /v PathBasic /d "%FOLDER%\browser" /f /reg:32 >nul 2>&1
if not errorlevel 1 goto allowed
echo This needs an administrator: click register.cmd with the right mouse button and choose
echo "Run as administrator". Nothing was changed.
exit /b 3

:allowed
"%SYSTEM%\regsvr32.exe" /s "%FOLDER%\talvern.dll"
if not errorlevel 1 goto registered
echo regsvr32 cannot register "%FOLDER%\talvern.dll". Is it blocked as a file from the Internet?
echo Look at its properties, allow it there, and run register.cmd again.
exit /b 4

:registered
call "%FOLDER%\path-register.cmd" add
echo Registered. Scripts on this machine can create the object "talvern" now, and consoles find
echo tvntrace by its name after the next sign-in.
echo The folder "%FOLDER%" must stay where it is.
