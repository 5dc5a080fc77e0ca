@echo off
rem Runs all tests of vorda.exe that this Windows can run and writes vorda-report.txt. Start it twice: as it
rem is, and with "Run as administrator". It changes nothing outside its own folder and the temporary folder,
rem unless VORDA_DISPOSABLE is 1: then also services, the registry, virtual disks and the recycle bin.
setlocal
set "here=%~dp0"
if exist "%here%node.exe" (set "node=%here%node.exe") else (set "node=node.exe")
if exist "%here%scripts\windows-report.mjs" (set "script=%here%scripts\windows-report.mjs") else (set "script=%here%windows-report.mjs")
"%node%" "%script%" %*
set code=%errorlevel%
if "%~1"=="" pause
exit /b %code%
