@echo off
rem Undoes what register.cmd has done. The files stay.
setlocal
set "FOLDER=%~dp0"
set "FOLDER=%FOLDER:~0,-1%"
set "SYSTEM=%SystemRoot%\System32"
if defined PROCESSOR_ARCHITEW6432 set "SYSTEM=%SystemRoot%\Sysnative"

if /i "%PROCESSOR_ARCHITECTURE%"=="AMD64" goto windows64
if /i "%PROCESSOR_ARCHITEW6432%"=="AMD64" goto windows64
echo talvern.dll needs 64-bit Windows on an x86-64 processor; this is not one, so nothing can be
echo registered here.
exit /b 1

:windows64
if exist "%FOLDER%\talvern.dll" goto complete
echo talvern.dll is not beside this file. Run the unregister.cmd of the folder that was registered.
exit /b 2

:complete
rem Writes the key that is to be removed: that succeeds only for an administrator, registered or not.
"%SYSTEM%\reg.exe" add HKLM\SOFTWARE\Talvern /v PathBasic /d "%FOLDER%\browser" /f /reg:32 >nul 2>&1
if not errorlevel 1 goto allowed
echo This needs an administrator: click unregister.cmd with the right mouse button and choose
echo "Run as administrator". Nothing was changed.
exit /b 3

:allowed
"%SYSTEM%\regsvr32.exe" /s /u "%FOLDER%\talvern.dll"
if not errorlevel 1 goto unregistered
echo regsvr32 cannot unregister "%FOLDER%\talvern.dll". It may be registered from another folder.
exit /b 4

:unregistered
"%SYSTEM%\reg.exe" delete HKLM\SOFTWARE\Talvern /v PathBasic /f /reg:32 >nul 2>&1
set "LEFT="
for /f "delims=" %%l in ('%SYSTEM%\reg.exe query HKLM\SOFTWARE\Talvern /reg:32') do set "LEFT=%%l"
if not defined LEFT "%SYSTEM%\reg.exe" delete HKLM\SOFTWARE\Talvern /f /reg:32 >nul 2>&1
call "%FOLDER%\path-register.cmd" remove
echo Unregistered. The files may be deleted now.
