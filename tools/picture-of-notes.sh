#!/bin/bash
# picture-of-notes.sh FOLDER PICTURE: shows the notes of a folder in the current Wine session, and takes a picture of
# the screen when all notes are shown.
set -u
cd "$(dirname "$0")/.."
folder=$1 picture=$2
key='HKCU\Software\Wine\Fonts\Replacements'
wine reg add "$key" /v 'Segoe UI' /t REG_SZ /d 'WenQuanYi Micro Hei' /f </dev/null >/dev/null 2>&1
wine build/windows/Vellumd.exe --no-autostart --folder "Z:${folder//\//\\}" </dev/null >/dev/null 2>&1 &
program=$!
log() { cat "$WINEPREFIX"/drive_c/ProgramData/OmbrelService_Common/Logs/*.log 2>/dev/null; }
for _ in $(seq 300); do
    if log | tail -n 50 | grep -q 'Started; '; then break; fi
    sleep .1
done
sleep 1.5  # wait until the last note is painted
import -window root "$picture"
status=$?
kill "$program" 2>/dev/null
wait "$program" 2>/dev/null
log | tail -n 3
exit $status
