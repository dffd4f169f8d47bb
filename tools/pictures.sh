#!/bin/bash
# Draws the pictures of README.md anew: the pages as the Windows library shows them on Wine, in few colours. Run it when a page
# has changed.
set -eu
cd "$(dirname "$0")/.."
. tools/setup.sh
qx_need native && qx_need windows
cmake --preset windows >/dev/null
cmake --build --preset windows --target run_scripts
export QX_WINE_DIR=$PWD/build/wine
trap 'tests/windows/wine.sh stop' EXIT
tests/windows/wine.sh run build/windows/bin/run_scripts.exe examples build/pictures \
    tests/scripts/pages-usb.script tests/scripts/pages-rs485.script
mkdir -p docs/pictures
while read -r name drawn; do
    convert "build/pictures/$drawn.png" -strip +dither -colors 96 -define png:exclude-chunks=date,time "PNG8:docs/pictures/$name.png"
done <<'END'
port-settings pages-usb/port settings with warning
com-number pages-usb/advanced com number
usb-settings pages-usb/advanced usb settings
rs485-settings pages-rs485/rs485 advanced duplex mode
END
ls -l docs/pictures
