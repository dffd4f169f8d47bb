#!/bin/bash
# Unpacks the package as an integrator does and looks at what he gets: package.sh ARCHIVE
set -u -o pipefail
archive=$1
zip=$(cd "$(dirname "$0")/../.." && pwd)/cmake/make_zip.sh
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
(cd "$work" && cmake -E tar xf "$archive") || exit 1
failed=0
complain() { echo "$*"; failed=1; }

top=$(ls "$work")
[ "$(echo "$top" | wc -l)" = 1 ] || complain "not one folder: $top"
cd "$work/$top" || exit 1
(cd "$(dirname "$archive")" && sha256sum --quiet -c "$archive.sha256") || complain "not the sum of the zip"
sha256sum --quiet -c SHA256SUMS || complain "not the sums of the files"
while read -r file; do
    name=${file##*/}
    case $name in SHA256SUMS) continue ;; *.pdb) name=symbols/ ;; esac
    grep -qF "\`$name\`" README.md || complain "README.md does not name $name"
    case $name in
        *.md | *.inf | *.h | LICENSE)
            [ "$(grep -c $'\r$' "$file")" = "$(wc -l <"$file")" ] || complain "$file: not all lines end in CR LF"
            ;;
    esac
done < <(find . -type f | sort)
# And the other way round: what README.md lists is there.
for name in $(sed -n 's/^| \(`[^|]*\)|.*/\1/p' README.md | grep -o '`[^`]*`' | tr -d '`'); do
    [ -e "$name" ] || complain "README.md names $name, which is not there"
done
version=${top#QxUUI10-}.0
for inf in *.inf; do
    grep -q "^DriverVer=[0-9/]*,$version" "$inf" || complain "$inf: not of version $version"
done
for each in QxUUI10.DLL qxports.exe; do
    strings -el "$each" | grep -x "$version" >/dev/null || complain "$each: its resources are not of version $version"
    pdb=symbols/${each%.*}.pdb
    id=$(llvm-readobj-19 --coff-debug-directory "$each" | sed -n 's/ *PDBGUID: //p')
    llvm-pdbutil-19 dump -summary "$pdb" | grep -qF "GUID: ${id:-none}" || complain "$pdb is not that of $each, $id"
    echo "$each: $(stat -c %s "$each") bytes; $pdb: $(stat -c %s "$pdb") bytes, $id"
done
# Packed once more, under another time and mask.
umask 077
touch -- *
"$zip" "$PWD" "$work/again.zip" || failed=1
cmp "$archive" "$work/again.zip" || failed=1
find . -type f | sort
exit $failed
