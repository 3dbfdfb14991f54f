@echo off
rem Starts an on-demand scan and waits a bounded time for the agent to say whether it started.
rem   scan.cmd [KIND [WAIT_MS]]    KIND quick (default) or full; WAIT_MS default 60000, and the
rem                                tool waits at least 5000
rem Prints one line; exit code 0 the scan started, 1 the agent reported that it failed to start
rem or refused it, 3 no word from the agent within the wait, or another failure.
rem tarn-rmm.exe is taken from beside this script unless TARN_RMM names it.
setlocal
set "TOOL=%TARN_RMM%"
if not defined TOOL set "TOOL=%~dp0tarn-rmm.exe"
set "KIND=%~1"
if not defined KIND set "KIND=quick"
set "WAIT_MS=%~2"
if not defined WAIT_MS set "WAIT_MS=60000"
set "ANSWER_FILE=%TEMP%\tarn-scan-%RANDOM%.txt"

"%TOOL%" -start%KIND%scan %WAIT_MS% >"%ANSWER_FILE%"
set "CODE=%ERRORLEVEL%"
set "ANSWER="
for /f "usebackq delims=" %%A in ("%ANSWER_FILE%") do set "ANSWER=%%A"
del "%ANSWER_FILE%" 2>nul

if "%CODE%"=="1460" (
  echo UNKNOWN: no word from the agent about the %KIND% scan within the wait
  exit /b 3
)
if not "%CODE%"=="0" (
  echo UNKNOWN: tarn-rmm.exe -start%KIND%scan failed with exit code %CODE%
  exit /b 3
)
if "%ANSWER%"=="0" (
  echo OK: the %KIND% scan started
  exit /b 0
)
if "%ANSWER%"=="5023" (
  echo FAILED: the agent reported that the %KIND% scan failed to start
  exit /b 1
)
echo FAILED: the agent refused the %KIND% scan with error %ANSWER%
exit /b 1
