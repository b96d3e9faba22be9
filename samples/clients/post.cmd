@echo off
rem Asks the user with a note, waits for the answer, and thanks. Needs vellumctl in the PATH.
rem usage: post.cmd [OPTION...]   where to post, as vellumctl has it: --folder DIR, -i NAME or --user NAME
setlocal
if not defined TIMEOUT set TIMEOUT=600

set id=
for /f %%i in ('vellumctl post --title Reboot --text "Reboot at 18:00. Close this note to agree, or write another time." --editable %*') do set id=%%i
if not defined id exit /b 3

vellumctl wait %id% --timeout %TIMEOUT% %* >"%TEMP%\%id%.txt"
set outcome=%errorlevel%
if %outcome%==4 echo the user agrees
if %outcome%==5 echo no answer
if not %outcome%==0 goto end

echo the user wrote:
type "%TEMP%\%id%.txt"
rem What is not given stays: the title, and the place to which the user has moved the note.
vellumctl post --id %id% --text "Thank you, noted." --read-only %* >nul
vellumctl wait %id% --timeout 5 %*
set outcome=%errorlevel%

:end
del "%TEMP%\%id%.txt"
rem 4: the note is gone. 5: it is still there.
if %outcome%==4 exit /b 0
if not %outcome%==5 exit /b %outcome%
vellumctl remove %id% %*
exit /b 0
