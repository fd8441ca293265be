@echo off
rem Removes the extension's registration. The files can be deleted when Explorer has unloaded the DLL.
regsvr32 /s /u "%~dp0KelvaroShellExt.dll"
if errorlevel 1 (
  echo The registration could not be removed.
  exit /b 1
)
echo The extension is no longer registered for %USERNAME%.
