@echo off
rem Runs the test programs in this folder. Ends with 0 if all pass, otherwise with 1. Every program gets the
rem arguments, for example --gtest_filter=Log.*
setlocal
set arguments=%*
set failed=
for %%p in (modules_test tools_test end_to_end_test imports_test) do call :run %%p
if defined failed (
  echo FAILED:%failed%
  exit /b 1
)
echo All programs passed.
exit /b 0

:run
echo %1
"%~dp0%1.exe" --gtest_brief=1 %arguments%
rem A crash has a negative exit code.
if not %errorlevel% == 0 set failed=%failed% %1
