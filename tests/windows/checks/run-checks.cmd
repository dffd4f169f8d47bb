@echo off
rem Runs the checks of QxUUI10 on this computer and says what passed; README.txt tells more.
setlocal
cd /d "%~dp0"
if not exist results mkdir results
set failed=0
call :run test_base
call :run test_codec
call :run test_contract --bare
call :run test_shipped_library
call :run run_scripts machines results scripts
echo left out: test_installed_port needs the kernel driver that is made for Wine
if "%failed%"=="0" (echo ALL CHECKS PASSED) else (echo SOME CHECKS FAILED, see the folder results)
exit /b %failed%

:run
"%~1.exe" %2 %3 %4 %5 >results\%~1.txt 2>&1
if "%errorlevel%"=="0" (echo passed:  %~1) else (echo FAILED:  %~1& set failed=1)
find "left out:" <results\%~1.txt
exit /b 0
