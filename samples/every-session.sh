#!/bin/bash
# Shows how every session gets its notes: registers the scheduled task on a temporary machine with five sessions, lists
# the display processes that it starts, kills one, runs the task again, and removes it. Needs ./dev.sh build native.
# Exits with 0 if everything worked. In every case it ends all processes that it started.
#
#   samples/every-session.sh [FOLDER WITH THE BUILT PROGRAMS]
set -u
cd "$(dirname "$0")/.." || exit 1
build=$(realpath "${1:-build/native}")
task='Ombrel Agent Display Notes'
. samples/throw-away-machine.sh

fail() { printf 'FAILED: %s\n' "$*" >&2; tail -n 20 "$VELLUM_MACHINE"/drive_c/ProgramData/*/Logs/*.log >&2; exit 1; }

elevated() { VELLUM_TOKEN='eve@3 high' "$build/Vellumd" "$@" 2>/dev/null; }
fire() { "$build/vellum-fire-task" "$task" || fail 'the task cannot be run'; }

# How often the dispatcher has ended, with or without success.
dispatches() { cat "$VELLUM_MACHINE"/drive_c/ProgramData/*/Logs/Vellumd_0_*.log 2>/dev/null | grep -c 'Shutting down'; }
has_dispatched() { [ "$(dispatches)" -ge "$1" ]; }
# wait_for_dispatch N: waits until the dispatcher has ended N times.
wait_for_dispatch() { wait_until has_dispatched "$1" || fail "run $1 of the dispatcher has not ended"; }
# The processes of the program on this machine.
running() {
    local place
    for place in $(grep -lsaFz "VELLUM_MACHINE=$VELLUM_MACHINE" /proc/[0-9]*/environ); do
        [ "$(readlink "${place%environ}exe")" = "$build/Vellumd" ] && echo "$place"
    done
}
# Whether each session with a user has one display process, and no extra process is left.
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

say 'An ordinary user cannot register the task'
VELLUM_TOKEN=ann@2 "$build/Vellumd" --register 2>/dev/null
status=$?
[ $status = 11 ] || fail "--register ended with $status"
[ -z "$(ls "$VELLUM_MACHINE/tasks" 2>/dev/null)" ] || fail 'there is a task'

say 'An elevated administrator registers the task; its first run serves every session'
elevated --register || fail "--register ended with $?"
cat "$VELLUM_MACHINE/tasks/$task.txt"
wait_for_dispatch 1
wait_for_displays

say 'The task runs again: still one process for each session'
fire
wait_for_dispatch 2
wait_for_displays

victim=$(displays 2)
say "Process $victim in session 2 is killed. The task runs again: session 2 has a new one"
kill_and_wait "$victim"
fire
wait_for_dispatch 3
wait_for_displays
[ "$(displays 2)" != "$victim" ] || fail 'the same process'

say 'The task is removed, twice; the display processes keep running'
elevated --delete || fail "--delete ended with $?"
elevated --delete || fail "the second --delete ended with $?"
[ -z "$(ls "$VELLUM_MACHINE/tasks")" ] || fail 'there is still a task'
wait_for_displays
say 'Done'
