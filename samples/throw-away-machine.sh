# Sourced by the other scripts of this folder: creates a machine of the stand-in that exists as long as the script runs,
# and finds the processes on it. $build must be the folder with the built programs.
for program in Vellumd vellum-fire-task vellum-queue-writer; do
    [ -x "$build/$program" ] || { echo "$build/$program is missing: run ./dev.sh build native" >&2; exit 1; }
done
VELLUM_MACHINE=$(mktemp -d)
export VELLUM_MACHINE
unset VELLUM_TOKEN VELLUM_FAULTS VELLUM_CHILD_TOKEN VELLUM_DESKTOP VELLUM_JOB

is_alive() { grep -qs '^State:[[:space:]]*[^ZX[:space:]]' "/proc/$1/status"; }
# A killed process holds its locks until its last thread has ended.
is_over() { ! is_alive "$1" && [ "$(ls "/proc/$1/task" 2>/dev/null | wc -l)" -le 1 ]; }
kill_and_wait() { kill -9 "$1" && wait_until is_over "$1"; }

# displays SESSION: the processes that show notes in a session. Each has a socket there, named after its process id.
displays() {
    local socket
    for socket in "$VELLUM_MACHINE/desktops/$1"/*; do
        [ -S "$socket" ] && is_alive "${socket##*/}" && echo "${socket##*/}"
    done
}

# Kills the processes of this machine: they have its folder in their environment. A process that is just starting shows
# no environment for a moment, so look three times.
finish() {
    local place
    trap - EXIT
    for _ in 1 2 3; do
        for place in $(grep -lsaFz "VELLUM_MACHINE=$VELLUM_MACHINE" /proc/[0-9]*/environ); do
            place=${place#/proc/}
            kill -9 "${place%/environ}" 2>/dev/null
        done
        sleep .02
    done
    rm -rf "$VELLUM_MACHINE"
}
trap finish EXIT
trap 'exit 1' INT TERM

say() { printf '\n== %s\n' "$*"; }
# wait_until CONDITION...: waits at most 30 seconds
wait_until() {
    for _ in $(seq 600); do
        "$@" && return
        sleep .05
    done
    return 1
}
