@echo off
rem Authorization, step 2 on the endpoint: runs a guarded command with the service's authorization.
rem   run-authorized.cmd TOKEN_FILE CERTIFICATE_FILE TIME_FILE COMMAND [ARGUMENTS...]
rem TOKEN_FILE holds the -authToken text of step 1, CERTIFICATE_FILE the service's certificate as
rem base64 without PEM lines, TIME_FILE the execution-time text the service signed from the
rem challenge of step 1. Prints the command's answer; the exit code is the tool's (12: refused,
rem 87: options incomplete, 2: no challenge issued or already spent).
rem tarn-rmm.exe is taken from beside this script unless TARN_RMM names it.
setlocal
set "TOOL=%TARN_RMM%"
if not defined TOOL set "TOOL=%~dp0tarn-rmm.exe"
if "%~4"=="" (
  echo usage: run-authorized.cmd TOKEN_FILE CERTIFICATE_FILE TIME_FILE COMMAND [ARGUMENTS...]
  exit /b 160
)
set "TOKEN="
for /f "usebackq delims=" %%A in ("%~1") do set "TOKEN=%%A"
set "CERTIFICATE_FILE=%~f2"
set "EXECUTION_TIME="
for /f "usebackq delims=" %%A in ("%~3") do set "EXECUTION_TIME=%%A"
shift
shift
shift
set COMMAND_LINE=
:collect
if "%~1"=="" goto run
set COMMAND_LINE=%COMMAND_LINE% %1
shift
goto collect

:run
"%TOOL%" %COMMAND_LINE% -authToken "%TOKEN%" -certificatePath "%CERTIFICATE_FILE%" -executionTime "%EXECUTION_TIME%"
exit /b %ERRORLEVEL%
