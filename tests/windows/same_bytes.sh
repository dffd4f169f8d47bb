#!/bin/sh
# Builds what users get a second time, from a copy of the tree in another folder and every file compiled anew, and compares.
#   same_bytes.sh FOLDER     where the first build's files are
set -eu
first=$1
cd "$(dirname "$0")/../.."
again=$(mktemp -d)
trap 'rm -rf "$again"' EXIT
git ls-files -z --cached --others --exclude-standard | xargs -0 cp --parents -t "$again"
cd "$again"
# A compiler cache may take part (it can change how paths are passed), but gives nothing out of its store.
export CCACHE_RECACHE=1
{ cmake --preset windows && cmake --build --preset windows --target QxUUI10 qxports; } >log 2>&1 || { tail -n 30 log; exit 1; }
for file in QxUUI10.DLL QxUUI10.pdb qxports.exe qxports.pdb; do
    sha256sum "$first/$file"
    cmp "$first/$file" "build/windows/bin/$file"
done
