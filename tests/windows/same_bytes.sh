#!/bin/sh
# Builds the library a second time, in another folder and every file compiled anew, and compares the two files.
#   same_bytes.sh LIBRARY
set -eu
library=$1
cd "$(dirname "$0")/../.."
again=build/windows-again-$$
trap 'rm -rf "$again"' EXIT
# A compiler cache may take part (it can change how paths are passed), but gives nothing out of its store.
export CCACHE_RECACHE=1
cmake --preset windows -B "$again" >build/windows-again.log 2>&1 || { cat build/windows-again.log; exit 1; }
cmake --build "$again" --target QxUUI10 >>build/windows-again.log 2>&1 || { tail -n 30 build/windows-again.log; exit 1; }
sha256sum "$library" "$again/bin/QxUUI10.DLL"
cmp "$library" "$again/bin/QxUUI10.DLL"
