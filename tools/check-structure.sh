#!/bin/sh
# Checks the rules of the tree that no compiler checks: which folder may include which, that a folder defines what it
# declares, that only platform/, the hosts' platform halves and the build files know what platform this is, and that no line of the library has a test hook.
# Prints every violation; exit code 1 when there is one.
set -u
cd "$(dirname "$0")/.." || exit 2
bad=0

complain() {
    printf '%s\n' "$1"
    bad=1
}

# A folder, and the folders that its files may include from. module/resource.h and module/product_data.h hold only
# definitions that the resource compiler shares, so every folder may name them.
allowed() {
    case $1 in
        base) echo "base" ;;
        device_records) echo "base device_records" ;;
        driver_access) echo "base device_records driver_access" ;;
        install) echo "base device_records driver_access install" ;;
        pages) echo "base device_records driver_access install pages" ;;
        module) echo "base device_records driver_access install pages module" ;;
        admin) echo "base device_records driver_access install admin" ;;
    esac
}

for folder in base device_records driver_access install pages module admin; do
    for file in "$folder"/*.h "$folder"/*.cpp; do
        [ -f "$file" ] || continue
        for include in $(sed -n 's/^ *# *include *"\([^"]*\)".*/\1/p' "$file"); do
            target=${include%%/*}
            case $include in module/resource.h | module/product_data.h) continue ;; esac
            case " $(allowed "$folder") " in
                *" $target "*) ;;
                *) complain "$file includes $include: $folder/ must not know $target/" ;;
            esac
        done
    done
done

# What a folder's headers declare can be linked from that folder: a class has its members where it is declared.
for folder in base device_records driver_access install pages module admin; do
    for class in $(sed -nE 's/^[^ \/].*[ &*](([A-Za-z0-9_]+)::)+~?[A-Za-z0-9_]+\(.*/\2/p; s/^([A-Za-z0-9_]+::)*([A-Za-z0-9_]+)::~?[A-Za-z0-9_]+\(.*/\2/p' \
        "$folder"/*.cpp | sort -u); do
        grep -qE "(class|struct|namespace) ([A-Za-z0-9_]+::)?$class\>" "$folder"/*.h "$folder"/*.cpp ||
            complain "$folder/ defines members of $class, which is declared elsewhere"
    done
done

# Pages and installation know each other by the rename of a port alone.
for file in pages/*.h pages/*.cpp; do
    [ -f "$file" ] || continue
    sed -n 's/^ *# *include *"\(install\/[^"]*\)".*/\1/p' "$file" | grep -v '^install/com_name\.h$' |
        while read -r include; do printf '%s includes %s: pages/ uses the rename only\n' "$file" "$include"; done
done | grep . && bad=1

hits=$(grep -nE '\<(_WIN32|_WIN64|__linux__|__MINGW32__|__MINGW64__|_MSC_VER|__unix__)\>' base/* device_records/* driver_access/* install/* pages/* \
    module/*.h module/*.cpp admin/*.h admin/*.cpp host/*.h host/*.cpp 2>/dev/null)
[ -z "$hits" ] || complain "asks which platform this is:
$hits"

exit $bad
