@echo off
rem Tries on this Windows machine everything that was only tried on Wine before, and writes one
rem report file. docs\windows-checklist says what is looked at.
rem
rem     tools\selftest.cmd [REPORT] [long]
rem
rem REPORT is the file to write, by default talvern-selftest.txt in the user's own folder; with
rem "long", what takes minutes is tried as well. Beside this file there is the folder selftest with
rem the programs (tests, standins, scripts, each in the folder that it is built in), and
rem talvern.dll in the folder above.
setlocal
set "HERE=%~dp0"
set "REPORT=%~1"
if "%REPORT%"=="" set "REPORT=%USERPROFILE%\talvern-selftest.txt"
if /i "%~2"=="long" set TALVERN_SCALE=20
set "WORK=%TEMP%\talvern-selftest"
set "KEY=HKLM\SOFTWARE\Talvern"
set "FIREFOX=HKLM\SOFTWARE\Mozilla\Mozilla Firefox\3.6.8 (en-US)\Main"
set FAILED=
set STEP=0

if exist "%HERE%selftest\tests\talvern_tests.exe" goto complete
echo The folder selftest with the test programs is not beside this file. Take all files out of the
echo archive, or install everything, and run tools\selftest.cmd again. Nothing was changed.
exit /b 2

:complete
tasklist | find /i "firefox.exe" >nul 2>&1
if not errorlevel 1 goto browsers
tasklist | find /i "iexplore.exe" >nul 2>&1
if not errorlevel 1 goto browsers
goto alone

:browsers
echo A Firefox or an Internet Explorer runs. The tests start and end stand-ins with their names:
echo close the browsers and run tools\selftest.cmd again. Nothing was changed.
exit /b 3

:alone
reg add "%KEY%\SelfTest" /f /reg:32 >nul 2>&1
if not errorlevel 1 goto allowed
echo This needs an administrator: click selftest.cmd with the right mouse button and choose
echo "Run as administrator". Nothing was changed.
exit /b 4

:allowed
reg delete "%KEY%\SelfTest" /f /reg:32 >nul 2>&1
if exist "%WORK%" rmdir /s /q "%WORK%"
mkdir "%WORK%"
reg export "%KEY%" "%WORK%\before.reg" /y /reg:32 >nul 2>&1
reg query HKCR\talvern\CLSID >nul 2>&1
set WAS_REGISTERED=%ERRORLEVEL%
xcopy /e /i /q /y "%HERE%selftest" "%WORK%\run" >nul
copy /y "%HERE%..\talvern.dll" "%WORK%\run" >nul

echo Talvern self-test> "%REPORT%"
ver >> "%REPORT%"
echo processor: %PROCESSOR_IDENTIFIER%, %NUMBER_OF_PROCESSORS% cores>> "%REPORT%"
chcp >> "%REPORT%" 2>&1
echo begun: %DATE% %TIME%>> "%REPORT%"

call :step "registration" regsvr32 /s "%WORK%\run\talvern.dll"
reg add "%KEY%" /v PathBasic /d "%WORK%\run\standins" /f /reg:32 >nul
reg add "%FIREFOX%" /v PathToExe /d "%WORK%\run\standins\firefox.exe" /f /reg:32 >nul
rem (Windows protects this key: where it cannot be written, the report lists what needs it.)
reg add "HKCR\CLSID\{0002DF01-0000-0000-C000-000000000046}\LocalServer32" /ve /d "\"%WORK%\run\standins\iexplore.exe\"" /f /reg:32 >nul 2>&1
if errorlevel 1 echo The stand-in for Internet Explorer cannot be registered here.>> "%REPORT%"

rem Without the tests that need the sources.
call :step "tests" "%WORK%\run\tests\talvern_tests.exe" --gtest_brief=1 --gtest_filter=-ScriptHost.*:Examples.*:*NoPathOfTheMachineThatBuiltIt
for %%S in (vbs js) do call :script %%S

taskkill /f /im talvern.exe >nul 2>&1
reg delete "%KEY%" /v PathBasic /f /reg:32 >nul 2>&1
reg delete "HKLM\SOFTWARE\Mozilla\Mozilla Firefox\3.6.8 (en-US)" /f /reg:32 >nul 2>&1
if exist "%WORK%\before.reg" reg import "%WORK%\before.reg" /reg:32 >nul 2>&1
call :step "unregistration" regsvr32 /s /u "%WORK%\run\talvern.dll"
if %WAS_REGISTERED%==0 call :step "registration as before" regsvr32 /s "%HERE%..\talvern.dll"

echo ended: %DATE% %TIME%>> "%REPORT%"
if defined FAILED goto failed
echo result: everything is as it should be>> "%REPORT%"
echo Everything is as it should be. The report is %REPORT%
exit /b 0

:failed
echo result: NOT as it should be:%FAILED%>> "%REPORT%"
echo NOT as it should be:%FAILED%. The report tells what happened: %REPORT%
exit /b 1

rem Runs a command and puts what it prints into the report: :step NAME PROGRAM ARGUMENTS...
rem Each has a file of its own, because the processes that it starts may keep it open.
:step
set /a STEP=STEP+1
set "OUTPUT=%WORK%\step%STEP%.txt"
echo %~1
%2 %3 %4 %5 %6 %7 %8 %9 > "%OUTPUT%" 2>&1
set CODE=%ERRORLEVEL%
echo.>> "%REPORT%"
echo ==== %~1>> "%REPORT%"
type "%OUTPUT%" >> "%REPORT%"
if %CODE%==0 goto stepgood
echo ---- %~1: FAILED with exit code %CODE%.>> "%REPORT%"
set FAILED=%FAILED% %~1;
exit /b 1

:stepgood
echo ---- %~1: good>> "%REPORT%"
exit /b 0

rem Runs a script and compares what it prints: :script LANGUAGE
:script
call :step "script host, %1" cscript //nologo "%WORK%\run\scripts\script_host_test.%1"
cscript //nologo "%WORK%\run\scripts\script_host_test.%1" > "%WORK%\printed.txt" 2>&1
call :step "the same, compared" fc /l "%WORK%\printed.txt" "%WORK%\run\scripts\script_host_test.%1.txt"
exit /b 0
