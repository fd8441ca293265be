@echo off
rem Removes the extension's registration. The files can be deleted when Explorer has unloaded the DLL.
setlocal EnableExtensions DisableDelayedExpansion
rem In a 32-bit process, System32 contains the 32-bit programs.
set "system=%SystemRoot%\System32"
if exist "%SystemRoot%\Sysnative\regsvr32.exe" set "system=%SystemRoot%\Sysnative"
"%system%\regsvr32.exe" /s /u "%~dp0KelvaroShellExt.dll"
if not "%errorlevel%"=="0" (
  echo The registration could not be removed.
  exit /b 1
)
echo The extension is no longer registered for the current user.
