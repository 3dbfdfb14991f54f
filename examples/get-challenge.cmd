@echo off
rem Authorization, step 1 on the endpoint: a fresh challenge for the authorization the service
rem issued for this endpoint.
rem   get-challenge.cmd TOKEN_FILE
rem TOKEN_FILE holds the -authToken text. The challenge (64 hex digits) is printed; hand it to the
rem authorization service, which signs it into the execution-time text for step 2
rem (run-authorized.cmd). A later challenge replaces this one.
rem tarn-rmm.exe is taken from beside this script unless TARN_RMM names it.
setlocal
set "TOOL=%TARN_RMM%"
if not defined TOOL set "TOOL=%~dp0tarn-rmm.exe"
if "%~1"=="" (
  echo usage: get-challenge.cmd TOKEN_FILE
  exit /b 160
)
set "TOKEN="
for /f "usebackq delims=" %%A in ("%~1") do set "TOKEN=%%A"
"%TOOL%" -getchallenge "%TOKEN%"
exit /b %ERRORLEVEL%
