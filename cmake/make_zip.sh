#!/bin/sh
# Packs a folder, with the sum of each file in it, so that the same files always make the same zip. The zip's own sum comes to
# stand beside it.
#   make_zip.sh FOLDER ARCHIVE
set -eu
archive=$2
top=$(basename "$1")
cd "$(dirname "$1")"
rm -f "$archive" "$top/SHA256SUMS"
(cd "$top" && find . -type f -printf '%P\n' | LC_ALL=C sort | xargs -d '\n' sha256sum) >sums
mv sums "$top/SHA256SUMS"
# Times and rights go into the zip.
chmod -R u=rwX,go=rX "$top"
find "$top" -exec touch -d '2024-01-01 UTC' {} +
find "$top" -type f | LC_ALL=C sort | TZ=UTC zip -q -X -@ "$archive"
cd "$(dirname "$archive")"
sha256sum "$(basename "$archive")" >"$archive.sha256"
