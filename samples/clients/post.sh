#!/bin/sh
# Asks the user with a note, waits for the answer, and thanks. Needs vellumctl in the PATH.
# usage: post.sh [OPTION...]   where to post, as vellumctl has it: --folder DIR, -i NAME or --user NAME
set -eu

id=$(vellumctl post --title Reboot --text "Reboot at 18:00. Close this note to agree, or write another time." --editable "$@")

outcome=0
answer=$(vellumctl wait "$id" --timeout "${TIMEOUT:-600}" "$@") || outcome=$?
case $outcome in
    0)
        echo "the user wrote: $answer"
        # What is not given stays: the title, and the place to which the user has moved the note.
        vellumctl post --id "$id" --text "Thank you, noted." --read-only "$@" >/dev/null
        vellumctl wait "$id" --timeout 5 "$@" || outcome=$?
        ;;
    4) echo "the user agrees" ;;
    5) echo "no answer" ;;
    *) exit "$outcome" ;;
esac
if [ "$outcome" -eq 5 ]; then                    # the note is still there
    vellumctl remove "$id" "$@" || [ $? -eq 1 ]  # 1: the user has closed it just now
fi
