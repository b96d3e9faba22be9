#!/bin/bash
# Shows a private queue from its first note to its last, through the end of its logon. Writer, recovery passes and
# display processes are real processes on a temporary machine. Needs ./dev.sh build native. Exits with 0 if everything
# worked. In every case it ends all processes that it started.
#
#   samples/recover-queues.sh [FOLDER WITH THE BUILT PROGRAMS]
set -u
cd "$(dirname "$0")/.." || exit 1
build=$(realpath "${1:-build/native}")
. samples/throw-away-machine.sh

said=$VELLUM_MACHINE/said.txt
fail() { printf 'FAILED: %s\n' "$*" >&2; cat "$said" >&2; exit 1; }

# writer SESSION COMMAND...: runs the writer in a session.
writer() { VELLUM_TOKEN="ann@$1" "$build/vellum-applet-writer" "${@:2}" || fail "the writer: ${*:2}"; }
# pass SESSION EXPECTED-CODE COUNTER...: runs a recovery pass of the staged program and shows how it ended.
pass() {
    local code counter
    VELLUM_TOKEN="ann@$1" "$staged" --applet-recover > /dev/null 2> "$said" < /dev/null
    code=$?
    grep -ao 'Applet recovery.*' "$said" | sed 's/^/   /'
    echo "   exit code $code"
    [ $code = "$2" ] || fail "the pass ended with $code instead of $2"
    for counter in "${@:3}"; do
        grep -aq "$counter" "$said" || fail "no $counter"
    done
}
# shown SESSION: the titles of the notes on the screen of a session.
shown() {
    local display
    for display in $(displays "$1"); do
        tools/desktop --process "$display" list 2> /dev/null | grep -o 'note_[a-z]*'
    done | sort
}
shows() { [ "$(shown "$1" | xargs)" = "$2" ]; }
is_settled() { shows "$1" "$2" || grep -aq 'lease rejected (err=32)' "$said"; }
# expect_shown SESSION TITLES. A display process exits at once if the pass that started it still has a lock; the next
# pass starts it again.
expect_shown() {
    for _ in $(seq 20); do
        wait_until is_settled "$1" "$2"
        shows "$1" "$2" && break
        pass "$1" 0
    done
    shows "$1" "$2" || fail "session $1 shows: $(shown "$1" | xargs)"
    echo "   session $1 shows: ${2:-nothing}"
}
# hold SESSION: holds the writer's lock of the queue until release.
hold() {
    VELLUM_TOKEN="ann@$1" "$build/vellum-applet-writer" hold "$queue" 60 > "$VELLUM_MACHINE/hold.txt" &
    holder=$!
    wait_until grep -q held "$VELLUM_MACHINE/hold.txt" || fail 'the lock is not held'
}
release() { kill $holder; wait $holder 2> /dev/null; rm "$VELLUM_MACHINE/hold.txt"; }
queues() { for queue_folder in "$store"/applet-*; do echo "   ${queue_folder##*/}: $(ls "$queue_folder" | xargs)"; done; }
end_displays() { for display in $(displays "$1"); do kill_and_wait "$display"; done; }
has_value() { [ -n "$(find "$VELLUM_MACHINE/registry" -name 'OmbrelAppletNotes*')" ]; }

# Ann is logged on twice; her logon in session 1 ends later.
describe() {
    cat > "$VELLUM_MACHINE/new.txt" <<END_OF_MACHINE
[user ann]
profile = C:\\Users\\ann
$1
[session 2]
user = ann
logon = 0x2B20
logon time = 0x1DC30127C5E6F20
END_OF_MACHINE
    mv "$VELLUM_MACHINE/new.txt" "$VELLUM_MACHINE/machine.txt"
}
describe '[session 1]
user = ann
logon = 0x1A10
logon time = 0x1DC2F6A5B3C4D10'

say 'The writer creates a store, stages the program and creates a queue for its logon'
queue=$(writer 1 queue) || exit 1
store=$(dirname "$(find "$VELLUM_MACHINE/drive_c" -name "$queue")")
writer 1 stage "$build/Vellumd"
staged=$(find "$store/runtime" -name Vellumd.exe)
chmod u+x "$staged"
writer 1 note "$queue" note_first 'The first note'
writer 1 note "$queue" note_second 'The second note'
queues
has_value || fail 'no auto-start value'

say 'Being written: a pass leaves the queue for later'
hold 1
pass 1 17 deferred=1
shows 1 '' || fail 'something is shown'
release

say 'Waiting: the next pass of the logon starts a display process'
pass 1 0 dispatched=1
expect_shown 1 'note_first note_second'

say 'Displayed: another pass changes nothing; in another logon the queue counts as live'
pass 1 0
expect_shown 1 'note_first note_second'
pass 2 0 live=1 dispatched=0
expect_shown 2 ''

say 'The display process is killed: the queue waits, and the next pass shows it again'
end_displays 1
expect_shown 1 ''
pass 1 0 dispatched=1
expect_shown 1 'note_first note_second'

say 'The logon ends: the queue is orphaned. While a writer has its lock, a pass leaves it for later'
end_displays 1
describe ''
hold 2
pass 2 17 claimed=0 deferred=1
release
queues

say 'The next pass of the later logon claims the queue and shows it there'
pass 2 0 claimed=1 dispatched=1
queues
[ -d "$store/$queue" ] && fail 'the queue has its old name'
expect_shown 2 'note_first note_second'

say 'An unexpected folder in the store: a pass fails and changes nothing'
mkdir -m 700 "$store/applet-x"
pass 2 16 failed=1
rmdir "$store/applet-x"
expect_shown 2 'note_first note_second'

say 'The notes are deleted: the display process stays, the queue is empty, the auto-start value is removed'
rm "$store"/applet-*/note_*.json
expect_shown 2 ''
[ -n "$(displays 2)" ] || fail 'the display has ended'
queues
wait_until eval '! has_value' || fail 'the auto-start value is still there'
pass 2 0 claimed=0 dispatched=0

say 'Done'
