@echo off
rem Installs the extension into a directory and registers it for the current user:
rem   install.cmd DIRECTORY
rem A loaded DLL cannot be overwritten, but it can be renamed: programs that have loaded it keep the old
rem version, all others load the new one. Exits with 0 if the extension is installed and registered,
rem otherwise with 1. Paths stay in quotes and delayed expansion off: a path may contain any of & ( ) ^ !
setlocal EnableExtensions DisableDelayedExpansion
if "%~1"=="" goto usage
if not "%~2"=="" goto usage
set "name=KelvaroShellExt.dll"
for %%I in ("%~dp0.") do set "source=%%~fI"
for %%I in ("%~f1\.") do set "target=%%~fI"
rem In a 32-bit process, System32 contains the 32-bit programs.
set "system=%SystemRoot%\System32"
if exist "%SystemRoot%\Sysnative\regsvr32.exe" set "system=%SystemRoot%\Sysnative"
if /i "%source%"=="%target%" goto register

rem Steps that need rights or disk space come before the installed DLL is touched.
if not exist "%target%\Lang\" mkdir "%target%\Lang" 2>nul
copy /b /y "%source%\%name%" "%target%\%name%.new" >nul 2>nul
if errorlevel 1 goto cannot_write
copy /b /y "%source%\Lang\*.ini" "%target%\Lang\" >nul 2>nul
if errorlevel 1 goto cannot_write

del /f /q "%target%\%name%.*.old" >nul 2>nul
set number=0
:next_number
set /a number+=1 >nul
set "old=%name%.%number%.old"
if exist "%target%\%old%" goto next_number
if exist "%target%\%name%" ren "%target%\%name%" "%old%" >nul 2>nul
if exist "%target%\%name%" goto cannot_rename
ren "%target%\%name%.new" "%name%" >nul 2>nul
if not exist "%target%\%name%" goto cannot_replace
echo Installed %name% and its language files in "%target%".
del /f /q "%target%\%name%.*.old" >nul 2>nul
pushd "%target%"
for %%I in (%name%.*.old) do (
  echo A program still uses an earlier version, now %%I. A later install or uninstall deletes it.
)
popd

:register
rem Codes of crashes are negative, so "if errorlevel 1" would ignore them.
"%system%\regsvr32.exe" /s "%target%\%name%"
if not "%errorlevel%"=="0" (
  echo The extension in "%target%" could not be registered.
  exit /b 1
)
echo Registered the extension for the current user. Right-click a program to see it.
exit /b 0

:cannot_write
echo Installation failed. The files cannot be written to "%target%".
goto fail

:cannot_rename
echo Installation failed. A program prevents the renaming of %name% in "%target%", which stays as it is.
goto fail

:cannot_replace
ren "%target%\%old%" "%name%" >nul 2>nul
echo Installation failed. %name% in "%target%" cannot be replaced and stays as it is.

:fail
del /f /q "%target%\%name%.new" >nul 2>nul
exit /b 1

:usage
echo Usage: install.cmd DIRECTORY
echo Put a directory with blanks in quotes.
exit /b 1
