#!/bin/bash
# Builds the Windows library and programs and runs them on Wine: the library in dialogs over the simulated machine at 96 and
# 144 DPI, on the system itself with a kernel driver, the contract of both platforms, and the shipped file.
#
# Pictures come to build/windows/screenshots/, the package to build/windows/.
set -u -o pipefail
cd "$(dirname "$0")/../.." || exit 2
export QX_WINE_DIR=$PWD/build/wine
[ "${CI:-}" != true ] || { tests/windows/wine.sh stop; rm -rf "$QX_WINE_DIR"; }
trap 'tests/windows/wine.sh stop' EXIT
mkdir -p build
rm -f build/windows/*.zip build/windows/*.zip.sha256  # also those of other versions
began=$SECONDS

{ cmake --preset windows && cmake --build --preset windows -j"$(nproc)"; } >build/windows.log 2>&1 ||
    { grep -E 'error|Error' build/windows.log | head -n 40; echo "the build failed, see build/windows.log"; exit 1; }
echo "built in $((SECONDS - began)) s"

began=$SECONDS
tests/windows/wine.sh start || exit 1
echo "Wine prefix and virtual display in $((SECONDS - began)) s"

rm -rf build/windows/screenshots
began=$SECONDS
ctest --test-dir build/windows --output-on-failure --timeout 600
result=$?
echo "run in $((SECONDS - began)) s"

log=build/windows/Testing/Temporary/LastTest.log
echo
grep -hE '^(contract:|  not asked:|QxUUI10.DLL:|[0-9]+ passed, [0-9]+ failed)' "$log" | tr -d '\r'
pictures=$(find build/windows/screenshots -name '*.png' | wc -l)
echo "$(find tests/scripts -name '*.script' | wc -l) user scripts, each at 96 and 144 DPI; $pictures pictures in build/windows/screenshots"

ls -l build/windows/QxUUI10-*.zip
exit $result
