#!/bin/bash
# Looks functions and lines up as a debugger does, by the library's address alone: its PDB, by the id in the file, must know
# those of every folder, by names that hold on any computer.
#   symbols.sh LIBRARY
set -u -o pipefail
library=$1
# Every 64th byte of the code.
read -r size from < <(llvm-objdump-19 -h "$library" | awk '$2 == ".text" { print $3, $4 }')
known=$(seq $((16#$from)) 64 $((16#$from + 16#$size - 1)) | xargs printf '0x%x\n' |
    llvm-symbolizer-19 --obj="$library" --no-inlines --output-style=GNU | paste -d ' ' - -)
result=0
for folder in base device_records driver_access install pages module; do
    # "QxUCoInstallPort install\port_coinstaller.cpp:61"
    found=$(echo "$known" | grep -E "^[^?].* $folder\\\\[a-z_]+\.cpp:[1-9][0-9]*" | head -n 1)
    [ -n "$found" ] || result=1
    echo "$folder: ${found:-NOTHING FOUND}"
done
exit $result
