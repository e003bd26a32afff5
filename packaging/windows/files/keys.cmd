@echo off
rem A command prompt where the commands of the help pages work as they are printed.
set PATH=%~dp0;%PATH%
cd /d "%USERPROFILE%"
corvessa-key --help
