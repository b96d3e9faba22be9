#!/bin/bash
# wine-session.sh COMMAND...: runs a command in its own Wine session and ends the session. The exit status is that of
# the command. With VELLUM_ON_DISPLAY=1 windows appear on $DISPLAY; otherwise the session has a virtual display with a
# virtual desktop.
#
# The prefix is $WINEPREFIX, by default build/wineprefix; it is created on first use (about 10 seconds). Only one
# session at a time can use a prefix: a second one waits.
set -u
cd "$(dirname "$0")/.."
: "${WINEPREFIX:=$PWD/build/wineprefix}"
export WINEPREFIX WINEDEBUG=-all WINEDLLOVERRIDES='mscoree=;mshtml='
export LC_ALL=C.UTF-8  # in the C locale Wine cannot create files with non-ASCII names
mkdir -p "$(dirname "$WINEPREFIX")"
exec 9>"$WINEPREFIX.lock"
flock 9
work=$(mktemp -d)
display=

finish() {
    trap - EXIT TERM INT HUP
    stop_wine
    if [ -n "$display" ]; then kill "$display" 2>/dev/null; wait "$display" 2>/dev/null; fi
    rm -rf "$work"
}
trap finish EXIT
trap 'exit 143' TERM INT HUP

if [ "${VELLUM_ON_DISPLAY:-0}" != 1 ]; then
    Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp 3>"$work/display" >/dev/null 2>&1 </dev/null 9>&- &
    display=$!
    for _ in $(seq 200); do [ -s "$work/display" ] && break; sleep .05; done
    [ -s "$work/display" ] || { echo "Xvfb did not start" >&2; exit 99; }
    DISPLAY=:$(cat "$work/display")
    export DISPLAY
fi

# Start the server first and keep it: without it, each start of a Wine process takes seconds. Processes that it starts
# keep their standard streams open for ever, so give them none.
quietly() { "$@" </dev/null >/dev/null 2>&1 9>&-; }
start_wine() {
    quietly wineserver -p
    quietly timeout 180 wineboot -i || { echo "Wine did not start" >&2; exit 98; }
}
stop_wine() {
    wineserver -k 2>/dev/null
    timeout 15 wineserver -w
}
start_wine

set_value() { quietly wine reg add "$1" /v "$2" /t "$3" /d "$4" /f; }
desktop='HKCU\Software\Wine\Explorer'
desktop_setting() { wine reg query "$desktop" /v Desktop </dev/null 2>/dev/null 9>&- | grep -c Default; }
set_value 'HKCU\Software\Wine\WineDbg' ShowCrashDialog REG_DWORD 0  # a crashed program ends at once, without a dialog
setting_before=$(desktop_setting)
if [ -n "$display" ]; then
    set_value "$desktop" Desktop REG_SZ Default
    set_value "$desktop\\Desktops" Default REG_SZ 1280x800
    set_value 'HKCU\Control Panel\Colors' Background REG_SZ '58 110 165'
else
    quietly wine reg delete "$desktop" /v Desktop /f
fi
# The desktop was created with the old setting, so start Wine again.
if [ "$(desktop_setting)" != "$setting_before" ]; then stop_wine; start_wine; fi

"$@" </dev/null 9>&- &
wait $!
exit $?
