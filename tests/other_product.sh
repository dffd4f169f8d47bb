#!/bin/bash
# Replaces the product data as a maker does, in a copy of the tree, and passes the native tests there: vendor id, identities,
# caption, maker and web address may stand nowhere else.
set -eu -o pipefail
cd "$(dirname "$0")/.."
copy=$(mktemp -d)
trap 'rm -rf "$copy"' EXIT
git ls-files -z --cached --others --exclude-standard | xargs -0 cp --parents -t "$copy"
cd "$copy"

replace() { # FILE OLD NEW
    grep -q "$2" "$1" || { echo "$1: no $2 to replace"; exit 1; }
    sed -i "s/$2/$3/g" "$1"
}
replace install/product_data.h VID_0F7A VID_5EAF
replace install/product_data.h '"Tessel"' '"Another Maker"'
replace install/product_data.h 6B0C7D52 00C0FFEE
replace install/product_data.h D1F4A3E7 01C0FFEE
replace driver_access/product_data.h 0x6C1B7D42 0x02C0FFEE
replace driver_access/product_data.h qxgendrv_ other_
replace package/qxsettings.h 0x6c1b7d42 0x02c0ffee
replace package/qxsettings.h '{6C1B7D42' '{02C0FFEE'
replace package/qxsettings.h qxgendrv_ other_
replace module/product_data.h 8a51c0d 03c0ffe
replace module/product_data.h www.veltramark.example other.example
replace module/product_data.h '"Veltramark"' '"Other"'
(cd module && widl -t -m64 -I . -o QxUUILib.tlb QxUUILib.idl)

# What knows no product data comes out of the compiler cache.
export CCACHE_BASEDIR=$copy CCACHE_NOHASHDIR=1
cmake --preset native >configure.log 2>&1 || { cat configure.log; exit 1; }
cmake --build --preset native -j"$(nproc)" >build.log 2>&1 || { grep -E 'error|FAILED' build.log; exit 1; }
ctest --test-dir build/native -j"$(nproc)" --output-on-failure
