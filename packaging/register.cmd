@echo off
rem Registers the extension for the current user. No administrator is needed.
setlocal EnableExtensions DisableDelayedExpansion
rem In a 32-bit process, System32 contains the 32-bit programs.
set "system=%SystemRoot%\System32"
if exist "%SystemRoot%\Sysnative\regsvr32.exe" set "system=%SystemRoot%\Sysnative"
rem Codes of crashes are negative, so "if errorlevel 1" would ignore them.
"%system%\regsvr32.exe" /s "%~dp0KelvaroShellExt.dll"
if not "%errorlevel%"=="0" (
  echo The extension could not be registered.
  exit /b 1
)
echo The extension is registered for the current user. Right-click a program to see it.
