# Sourced by ./run, ./test and .ci/run: finds out what the machine lacks for a job, and installs it where that is possible.
#
#   qx_need JOB      JOB is native, bench, format, sanitize, coverage, tidy or windows. Answers 0 when everything is there or
#                    could be installed. Otherwise it says what is missing and answers 1; with CI=true it ends the script,
#                    because there nothing may be left out.

qx_packages() {
    case $1 in
        native) echo "cmake ninja-build g++ ccache libgtest-dev libgmock-dev libcli11-dev nlohmann-json3-dev llvm libchm-bin" ;;
        bench) echo "libbenchmark-dev libnanopb-dev libmsgpack-dev" ;;
        format) echo "clang-format" ;;
        sanitize) echo "clang libclang-rt-14-dev" ;;
        coverage) echo "gcovr" ;;
        tidy) echo "clang-tidy" ;;
        windows)
            echo "clang-19 lld-19 llvm-19 g++-mingw-w64-x86-64-posix g++-mingw-w64-x86-64-win32 googletest zip wine64 wine64-tools libwine-dev fonts-wine xvfb imagemagick"
            ;;
    esac
}

qx_missing() {
    local package
    for package in $(qx_packages "$1"); do
        dpkg-query -W -f '${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed || printf '%s ' "$package"
    done
}

# The first complaint of a failing apt-get is what the user needs to see, not its progress.
qx_install() {
    local sudo=""
    [ "$(id -u)" = 0 ] || sudo="sudo -n"
    [ -z "$sudo" ] || $sudo true 2>/dev/null || return 1
    command -v apt-get >/dev/null || return 1
    echo "installing: $*"
    if [ ! -e "${qx_updated:=/nonexistent}" ]; then
        qx_updated=$(mktemp)
        timeout 180 $sudo env DEBIAN_FRONTEND=noninteractive apt-get -q update >"$qx_updated" 2>&1 || true
    fi
    timeout 900 $sudo env DEBIAN_FRONTEND=noninteractive apt-get -q -y install --no-install-recommends "$@" \
        >"$qx_updated.install" 2>&1 || { grep "^E:" "$qx_updated.install" | head -n 3; return 1; }
}

qx_need() {
    local missing
    command -v dpkg-query >/dev/null || { echo "no Debian packages here: what $1 needs is taken to be installed"; return 0; }
    missing=$(qx_missing "$1")
    # shellcheck disable=SC2086
    [ -z "$missing" ] || qx_install $missing || true
    missing=$(qx_missing "$1")
    [ -n "$missing" ] || return 0
    echo "missing for $1, and could not be installed: $missing"
    if [ "${CI:-}" = true ]; then
        echo "CI=true: nothing may be left out"
        exit 1
    fi
    return 1
}
