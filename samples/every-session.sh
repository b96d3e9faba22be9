#!/bin/bash
# Shows how every session gets its notes: registers the scheduled task on a throw-away machine with five sessions, looks
# at the display processes it starts, kills one, fires the task again, and removes it. Needs ./dev.sh build native.
# Ends with 0 when all went as told; everything it started is ended by then.
#
#   samples/every-session.sh [FOLDER WITH THE BUILT PROGRAMS]
set -u
cd "$(dirname "$0")/.." || exit 1
build=$(realpath "${1:-build/native}")
task='Ombrel Agent Display Notes'
. samples/throw-away-machine.sh

fail() { printf 'FAILED: %s\n' "$*" >&2; tail -n 20 "$VELLUM_MACHINE"/drive_c/ProgramData/*/Logs/*.log >&2; exit 1; }

elevated() { VELLUM_TOKEN='eve@3 high' "$build/Vellumd" "$@" 2>/dev/null; }
fire() { "$build/vellum-fire-task" "$task" || fail 'the task cannot be fired'; }

# How often the dispatcher has ended, whatever came of it.
dispatches() { cat "$VELLUM_MACHINE"/drive_c/ProgramData/*/Logs/Vellumd_0_*.log 2>/dev/null | grep -c 'Shutting down'; }
has_dispatched() { [ "$(dispatches)" -ge "$1" ]; }
# Waits until the dispatcher has ended for the N-th time.
wait_for_dispatch() { wait_until has_dispatched "$1" || fail "run $1 of the dispatcher has not ended"; }
# The processes of the program on this machine.
running() {
    local place
    for place in $(grep -lsaFz "VELLUM_MACHINE=$VELLUM_MACHINE" /proc/[0-9]*/environ); do
        [ "$(readlink "${place%environ}exe")" = "$build/Vellumd" ] && echo "$place"
    done
}
# Whether exactly the sessions with a user have one display each, and those that found one there have ended.
are_served() {
    [ "$(running | wc -l)" = 3 ] || return
    counts="$(for session in 0 1 2 3 4; do displays $session | wc -l; done | xargs)"
    [ "$counts" = '0 1 1 1 0' ]
}
wait_for_displays() {
    wait_until are_served || fail "displays in the sessions 0 to 4: $counts"
    for session in 0 1 2 3 4; do echo "session $session: $(displays $session | xargs)"; done
}

cat > "$VELLUM_MACHINE/machine.txt" <<'END'
[environment]
PROGRAMDATA = C:\ProgramData

[user dan]
profile = C:\Users\dan
[user ann]
profile = C:\Users\ann
[user eve]
profile = C:\Users\eve
administrator = yes

[session 0]
state = disconnected
[session 1]
user = dan
state = disconnected
[session 2]
user = ann
state = active
[session 3]
user = eve
state = active
elevated = yes
[session 4]
state = connected
END

say 'An ordinary user may not register'
VELLUM_TOKEN=ann@2 "$build/Vellumd" --register 2>/dev/null
status=$?
[ $status = 11 ] || fail "--register ended with $status"
[ -z "$(ls "$VELLUM_MACHINE/tasks" 2>/dev/null)" ] || fail 'there is a task'

say 'An elevated administrator registers; the first run serves every session at once'
elevated --register || fail "--register ended with $?"
cat "$VELLUM_MACHINE/tasks/$task.txt"
wait_for_dispatch 1
wait_for_displays

say 'Fired again: still one each'
fire
wait_for_dispatch 2
wait_for_displays

victim=$(displays 2)
say "Killed in session 2: $victim. Fired again: it is back"
kill_and_wait "$victim"
fire
wait_for_dispatch 3
wait_for_displays
[ "$(displays 2)" != "$victim" ] || fail 'the same process'

say 'Removed, twice; what runs keeps running'
elevated --delete || fail "--delete ended with $?"
elevated --delete || fail "the second --delete ended with $?"
[ -z "$(ls "$VELLUM_MACHINE/tasks")" ] || fail 'there is still a task'
wait_for_displays
say 'Done'
