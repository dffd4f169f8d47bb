#!/bin/bash
# Compiles the help file from its sources here. Run it after every change of a page or of the popup texts: a test compares what
# QxUUI51.chm holds with the sources. It wants chmcmd (apt-get install --no-install-recommends fp-utils).
set -eu
cd "$(dirname "$0")"
work=$(mktemp -d)
trap 'rm -r "$work"' EXIT
# The viewer's own tools write lines with CR LF.
for file in *.htm *.css *.txt *.hhp; do
    sed 's/$/\r/' "$file" >"$work/$file"
done
(cd "$work" && chmcmd QxUUI51.hhp)
mv "$work/QxUUI51.chm" .
