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

# note NAME: a file with a note, for the writer.
note() {
    printf '{"id": "%s", "title": "%s", "content": "Hello."}\n' "$1" "$1" > "$VELLUM_MACHINE/$1.json"
    echo "$VELLUM_MACHINE/$1.json"
}
# writer SESSION EXPECTED-CODE ARGUMENT...: runs the writer in a session. What it prints goes to a file: a display that
# it starts would keep a pipe open.
writer() {
    local code
    VELLUM_TOKEN="ann@$1" "$build/vellum-queue-writer" "${@:3}" > "$VELLUM_MACHINE/written.txt" 2> "$said" < /dev/null
    code=$?
    grep -a '^vellum-queue-writer' "$said" | sed 's/^/   /'
    [ $code = "$2" ] || fail "the writer ended with $code instead of $2"
}
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
# hold SESSION: another writer holds its lock until release.
hold() {
    VELLUM_TOKEN="ann@$1" "$build/vellum-queue-writer" --queue "$queue" --hold "$build/Vellumd" \
        > "$VELLUM_MACHINE/hold.txt" < <(exec sleep 100) &
    holder=$!
    wait_until grep -q held "$VELLUM_MACHINE/hold.txt" || fail 'the lock is not held'
}
release() { kill $holder 2> /dev/null; wait $holder 2> /dev/null; rm "$VELLUM_MACHINE/hold.txt"; }
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

say 'The writer creates a store, stages the program and writes notes into the queue of its logon'
writer 1 0 --no-display "$build/Vellumd" "$(note note_first)" "$(note note_second)"
queue=$(cat "$VELLUM_MACHINE/written.txt")
store=$(dirname "$(find "$VELLUM_MACHINE/drive_c" -name "$queue")")
staged=$(find "$store/runtime" -name Vellumd.exe)
chmod u+x "$staged"  # Linux asks for it where bash starts a program
queues
has_value || fail 'no auto-start value'

say 'Being written: a pass leaves the queue for later. A second writer tries again and again, then gives up (3)'
hold 1
pass 1 17 deferred=1
shows 1 '' || fail 'something is shown'
writer 1 3 "$build/Vellumd" "$(note note_third)"
release
[ ! -e "$store/$queue/note_third.json" ] || fail 'a note is there'

say 'Waiting: the next pass of the logon starts a display process'
pass 1 0 dispatched=1
expect_shown 1 'note_first note_second'

say 'Displayed: another pass changes nothing; in another logon the queue counts as live'
pass 1 0
expect_shown 1 'note_first note_second'
pass 2 0 live=1 dispatched=0
expect_shown 2 ''

say 'A writer that meets error 32 waits for a moment. Then the display shows its note; no other display starts'
hold 1
(sleep .5; kill $holder) &
writer 1 0 "$build/Vellumd" "$(note note_third)"
release
expect_shown 1 'note_first note_second note_third'
[ "$(displays 1 | wc -w)" = 1 ] || fail 'more than one display'
rm "$store/$queue/note_third.json"
expect_shown 1 'note_first note_second'

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

say 'The next note: the writer sets the value again, makes the queue of this logon and starts its display'
writer 2 0 "$build/Vellumd" "$(note note_fourth)"
queues
has_value || fail 'no auto-start value'
expect_shown 2 'note_fourth'

say 'Done'
