@echo off
rem Removes the extension's registration. The files may be deleted once Explorer has let go of them.
regsvr32 /s /u "%~dp0KelvaroShellExt.dll"
if errorlevel 1 (
  echo The registration could not be removed.
  exit /b 1
)
echo The extension is no longer registered for %USERNAME%.
