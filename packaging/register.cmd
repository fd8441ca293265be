@echo off
rem Registers the extension for the current user. No administrator is needed.
regsvr32 /s "%~dp0KelvaroShellExt.dll"
if errorlevel 1 (
  echo The extension could not be registered.
  exit /b 1
)
echo The extension is registered for %USERNAME%. Right-click a program to see it.
