#!/bin/sh
# Holds platform/include against the platform's SDK. Every integer constant that it defines must have the value that
# the SDK gives it, and platform_abi.cpp, which the native build compiles, must compile against the SDK, too.
# usage: compare_with_sdk.sh NATIVE_COMPILER CLANG
set -eu
native=$1
sdk=$2
cd "$(dirname "$0")/../.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
headers=platform/include

# Prints, as native program, one assertion for each constant: in 32 bits, since results are signed there and unsigned
# here. Texts and handles are no integers and left out, as are names that stand for a function or a keyword, and sizes up
# to a field, which the SDK does not state as constants.
{
    echo '#include <windows.h>'
    for header in "$headers"/*.h; do echo "#include <${header##*/}>"; done
} >"$work/headers.h"
{
    cat "$work/headers.h"
    cat <<'END'
#include <cstdio>
#include <type_traits>
template <typename Value>
void List(const char* name, Value value) {
    if constexpr (std::is_integral_v<Value>)
        std::printf("static_assert(static_cast<unsigned>(%s) == 0x%XU, \"%s is 0x%X in platform/include\");\n", name,
                    static_cast<unsigned>(value), name, static_cast<unsigned>(value));
}
int main() {
END
    sed -n 's/^# *define \([A-Za-z_][A-Za-z0-9_]*\)  *[0-9A-Z(\\].*/    List("\1", \1);/p' "$headers"/*.h |
        grep -v -e '\<MAKEINTRESOURCE\>' -e '\<TTTOOLINFOW_V[0-9]_SIZE\>'
    echo '}'
} >"$work/list.cpp"
"$native" -std=c++20 -isystem "$headers" "$work/list.cpp" -o "$work/list"
{
    cat "$work/headers.h"
    "$work/list"
} >"$work/compare.cpp"

# mingw-w64 keeps one header among the driver kit's.
echo '#include <ddk/msports.h>' >"$work/msports.h"
for source in "$work/compare.cpp" tests/platform_abi/platform_abi.cpp; do
    "$sdk" --target=x86_64-w64-windows-gnu -std=c++20 -DUNICODE -D_UNICODE -DWINVER=0x0601 -D_WIN32_WINNT=0x0601 -I"$work" -fsyntax-only "$source"
done
count=$(grep -c static_assert "$work/compare.cpp")
echo "$count constants agree"
