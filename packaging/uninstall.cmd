@echo off
rem Removes the extension's registration for the current user and its files from a directory:
rem   uninstall.cmd DIRECTORY
rem A loaded DLL cannot be deleted, but it can be renamed: the next run deletes it, after the programs that
rem have loaded it have ended. Exits with 0 if the extension is unregistered and its files are deleted or
rem renamed, otherwise with 1. For the quotes see install.cmd.
setlocal EnableExtensions DisableDelayedExpansion
if "%~1"=="" goto usage
if not "%~2"=="" goto usage
set "name=KelvaroShellExt.dll"
for %%I in ("%~f1\.") do set "target=%%~fI"
rem In a 32-bit process, System32 contains the 32-bit programs.
set "system=%SystemRoot%\System32"
if exist "%SystemRoot%\Sysnative\regsvr32.exe" set "system=%SystemRoot%\Sysnative"

rem Any copy of the DLL can remove the registration.
set "library=%target%\%name%"
if not exist "%library%" set "library=%~dp0%name%"
"%system%\regsvr32.exe" /s /u "%library%"
if not "%errorlevel%"=="0" (
  echo Nothing is removed. The registration could not be removed with "%library%".
  exit /b 1
)
echo Removed the registration for the current user.
set "files="%name%" "%name%.new" "Lang\English.ini" "Lang\Chinese(Simplified).ini""
set found=
if exist "%target%\%name%.*.old" set found=1
for %%I in (%files%) do if exist "%target%\%%~I" set found=1
if not defined found (
  echo "%target%" contains no files of the extension.
  exit /b 0
)

for %%I in (%files%) do del /f /q "%target%\%%~I" >nul 2>nul
del /f /q "%target%\%name%.*.old" >nul 2>nul
set number=0
:next_number
set /a number+=1 >nul
set "old=%name%.%number%.old"
if exist "%target%\%old%" goto next_number
if exist "%target%\%name%" ren "%target%\%name%" "%old%" >nul 2>nul
rmdir "%target%\Lang" >nul 2>nul
for %%I in (%files%) do if exist "%target%\%%~I" goto cannot_delete
echo Removed the extension's files from "%target%".
pushd "%target%"
for %%I in (%name%.*.old) do (
  echo A program still uses the extension, now %%I. Run uninstall.cmd again when that program has ended.
)
popd
exit /b 0

:cannot_delete
echo Files of the extension cannot be deleted from "%target%".
exit /b 1

:usage
echo Usage: uninstall.cmd DIRECTORY
echo Put a directory with blanks in quotes.
exit /b 1
