#!/bin/bash
# Opens the property sheet of an example machine's port: the Windows library with its real dialogs. On this machine's display
# the sheet waits for you; without a display it is opened on a virtual one and pictured page by page.
#   show.sh [MACHINE [PORT]]
set -u -o pipefail
cd "$(dirname "$0")/../.." || exit 2
machine=${1:-examples/usb-four-port.json}
port=${2:-COM6}
display=${DISPLAY:-}
export QX_WINE_DIR=$PWD/build/wine

{ cmake --preset windows && cmake --build --preset windows -j"$(nproc)" --target qxhost run_scripts; } >build/windows.log 2>&1 ||
    { tail -n 30 build/windows.log; echo "the build failed, see build/windows.log"; exit 1; }
host=build/windows/bin/qxhost.exe
# The examples stay as they are.
mkdir -p build/run
cp "$machine" build/run/shown-machine.json

if [ -n "$display" ] && import -display "$display" -window root -resize 1x1 null: 2>/dev/null; then
    echo "the sheet of $port is open on display $display; OK writes to build/run/shown-machine.json"
    exec tests/windows/wine.sh show "$display" $host build/run/shown-machine.json properties "$port" --wait
fi
echo "no display: the sheet is opened on a virtual one"
trap 'tests/windows/wine.sh stop' EXIT
tests/windows/wine.sh run build/windows/bin/run_scripts.exe examples build/run/windows-pictures \
    tests/scripts/pages-usb.script tests/scripts/pages-rs485.script
result=$?
echo "pictures:"
find build/run/windows-pictures -name "*.png" | sort
exit $result
