#!/bin/bash
# Makes src/resources/Vellumd.ico from vellumd.svg in the same folder. Needs the Debian packages librsvg2-bin and
# icoutils.
set -eu
cd "$(dirname "$0")/../src/resources"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for size in 16 20 24 32 48 64 256; do
    rsvg-convert -w $size -h $size vellumd.svg -o "$work/$size.png"
done
icotool -c -o Vellumd.ico "$work"/{16,20,24,32,48,64}.png --raw="$work/256.png"
