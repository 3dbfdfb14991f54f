@echo off
rem Scheduled monitor of the TARN agent: asks tarn-rmm.exe for critical issues, a pending restart
rem and whether the agent is up to date, and turns the exit codes and answers into one alert
rem state, printed as one line and given as the exit code the RMM platform alerts on:
rem   0 OK, 1 WARNING (restart pending, not up to date), 2 CRITICAL (critical issues, no agent),
rem   3 UNKNOWN (the tool or the agent failed; the line names the exit code).
rem tarn-rmm.exe is taken from beside this script unless TARN_RMM names it.
setlocal EnableDelayedExpansion
set "TOOL=%TARN_RMM%"
if not defined TOOL set "TOOL=%~dp0tarn-rmm.exe"
set "ANSWER_FILE=%TEMP%\tarn-monitor-%RANDOM%.txt"

call :ask -hascriticalissues
if "!CODE!"=="2" (
  echo CRITICAL: the TARN agent is not installed
  exit /b 2
)
if not "!CODE!"=="0" goto unknown
rem The answer lists the critical alerts joined by "|": delayed expansion prints it as it is.
if defined ANSWER (
  echo CRITICAL: critical issues: !ANSWER!
  exit /b 2
)

call :ask -checkifrebootrequired
if not "!CODE!"=="0" goto unknown
if "!ANSWER!"=="1" (
  echo WARNING: the TARN agent waits for a restart
  exit /b 1
)

call :ask -isuptodate
if not "!CODE!"=="0" goto unknown
if "!ANSWER!"=="0" (
  echo WARNING: the TARN agent is not up to date
  exit /b 1
)
echo OK: the TARN agent is up to date, without critical issues
exit /b 0

:unknown
if "!CODE!"=="1460" (
  echo UNKNOWN: the TARN agent did not answer %LAST% in time ^(exit code 1460^)
) else (
  echo UNKNOWN: tarn-rmm.exe %LAST% failed with exit code !CODE!
)
exit /b 3

rem Runs the tool with one command word: CODE is its exit code, ANSWER its answer (maybe empty).
:ask
set "LAST=%~1"
"%TOOL%" %1 >"%ANSWER_FILE%"
set "CODE=%ERRORLEVEL%"
set "ANSWER="
for /f "usebackq delims=" %%A in ("%ANSWER_FILE%") do set "ANSWER=%%A"
del "%ANSWER_FILE%" 2>nul
exit /b 0
