#!/bin/bash
# Runs Windows programs on Wine and a virtual display, with a time limit on everything, so that no test run can hang.
#
#   wine.sh run [-t SECONDS] [-d DPI] [-c] PROGRAM [ARGUMENT...]
#                                                             runs a program; its output and exit code are passed on;
#                                                             with -c in the dark colours of high contrast
#   wine.sh show DISPLAY PROGRAM [ARGUMENT...]                runs a program for a person in front of a display, without a limit
#   wine.sh screenshot FILE.png                               pictures the virtual display
#   wine.sh start | stop                                      "run" starts what it needs by itself
#   wine.sh winepath                                          prints the prefix
#
# The prefix, the server and the display belong to one directory: $QX_WINE_DIR, by default build/wine of this tree. The
# server ends by itself some minutes after the last program, and takes the display with it.
set -u

here=$(cd "$(dirname "$0")" && pwd)
dir=${QX_WINE_DIR:-$(cd "$here/../.." && pwd)/build/wine}
wine=/usr/lib/wine/wine64
server=/usr/lib/wine/wineserver64
idle_seconds=300

mkdir -p "$dir/prefix"
dir=$(cd "$dir" && pwd)
export WINEPREFIX=$dir/prefix WINEARCH=win64 WINESERVER=$server WINEDEBUG=${WINEDEBUG:--all}
# Neither .NET nor the HTML engine is wanted, or the prefix would ask for them. The port database of the tests
# stands beside the programs that need it.
export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml=;msports=n,b}
unset DISPLAY WAYLAND_DISPLAY

die() {
    echo "wine.sh: $*" >&2
    exit 125
}

# Runs one Wine program with its output in files: background services keep inherited pipes open, and a reader of such a
# pipe would wait for them.
limited() { # SECONDS LOG COMMAND...
    local seconds=$1 log=$2
    shift 2
    timeout -k 5 "$seconds" "$@" >"$log" 2>&1 </dev/null
}

running() { kill -0 "$(cat "$dir/pid" 2>/dev/null)" 2>/dev/null && [ -s "$dir/display" ]; }

# Display and server under one keeper, which ends the display when the server has ended.
keep() {
    rm -f "$dir/display"
    Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp -dpi 96 3>"$dir/display" >"$dir/display.log" 2>&1 &
    local display=$!
    local tries=0
    while [ ! -s "$dir/display" ] && [ $tries -lt 100 ]; do
        sleep 0.1
        tries=$((tries + 1))
    done
    "$server" -f -p"$idle_seconds" >"$dir/server.log" 2>&1
    kill "$display"
    rm -f "$dir/display" "$dir/pid"
}

start() {
    exec 8>"$dir/lock"
    flock -w 180 8 || die "another run holds $dir/lock"
    if ! running; then
        [ -x $wine ] && [ -x $server ] || die "Wine is missing: apt-get install wine64"
        command -v Xvfb >/dev/null || die "Xvfb is missing: apt-get install xvfb"
        setsid "$0" keep 8>&- >/dev/null 2>&1 </dev/null &
        echo $! >"$dir/pid"
        local tries=0
        # A program that comes before the server starts one of its own, which does not last.
        while ! { [ -s "$dir/display" ] && "$server" -k0; } 2>/dev/null && [ $tries -lt 100 ]; do
            sleep 0.1
            tries=$((tries + 1))
        done
        [ -s "$dir/display" ] || die "no virtual display: $(tail -n 3 "$dir/display.log")"
    fi
    DISPLAY=:$(cat "$dir/display")
    export DISPLAY
    if [ ! -f "$dir/ready" ]; then
        # The first program makes the prefix. (A wineboot of our own would be a second one beside that, and two of them start
        # the services twice.)
        limited 120 "$dir/boot.log" "$wine" cmd /c ver 8>&- || die "no prefix: $(tail -n 3 "$dir/boot.log")"
        # Without a window manager the window system's own frames are drawn by Wine itself.
        limited 30 "$dir/reg.log" "$wine" reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f 8>&- ||
            die "no registry: $(cat "$dir/reg.log")"
        local font
        for font in tahoma tahomabd marlett; do
            [ -e "$WINEPREFIX/drive_c/windows/Fonts/$font.ttf" ] ||
                cp "/usr/share/wine/fonts/$font.ttf" "$WINEPREFIX/drive_c/windows/Fonts/" ||
                die "fonts are missing: apt-get install fonts-wine"
        done
        touch "$dir/ready"
    fi
    flock -u 8
    exec 8>&-
}

stop() {
    running || return 0
    timeout -k 5 20 "$server" -k >/dev/null 2>&1
    local tries=0
    while running && [ $tries -lt 100 ]; do
        sleep 0.1
        tries=$((tries + 1))
    done
    if running; then
        kill -- "-$(cat "$dir/pid")"
        rm -f "$dir/pid" "$dir/display"
    fi
}

set_dpi() {
    [ "$(cat "$dir/dpi" 2>/dev/null)" = "$1" ] && return
    limited 30 "$dir/reg.log" "$wine" reg add 'HKCU\Control Panel\Desktop' /v LogPixels /t REG_DWORD /d "$1" /f ||
        die "cannot set $1 DPI: $(cat "$dir/reg.log")"
    echo "$1" >"$dir/dpi"
}

# The system's colours for programs that start from now on: dark ones, or its own again. Its theme draws some captions
# in colours of its own, so it goes with the others.
set_colours() { # dark | own
    local name change active=1
    [ "$1" = own ] || active=0
    limited 30 "$dir/reg.log" "$wine" reg add 'HKCU\Software\Microsoft\Windows\CurrentVersion\ThemeManager' \
        /v ThemeActive /d $active /f || die "cannot set the theme: $(cat "$dir/reg.log")"
    for name in ButtonFace ButtonText Window WindowText HotTrackingColor; do
        case $name in
            ButtonFace | Window) change="0 0 0" ;;
            HotTrackingColor) change="255 255 0" ;;
            *) change="255 255 255" ;;
        esac
        if [ "$1" = dark ]; then
            limited 30 "$dir/reg.log" "$wine" reg add 'HKCU\Control Panel\Colors' /v $name /d "$change" /f
        else
            limited 30 "$dir/reg.log" "$wine" reg delete 'HKCU\Control Panel\Colors' /v $name /f
        fi || die "cannot set colours: $(cat "$dir/reg.log")"
    done
}

run() {
    local seconds=${QX_WINE_TIMEOUT:-120} dpi=96 dark=
    while getopts t:d:c option; do
        case $option in
            t) seconds=$OPTARG ;;
            d) dpi=$OPTARG ;;
            c) dark=yes ;;
            *) exit 125 ;;
        esac
    done
    shift $((OPTIND - 1))
    [ $# -gt 0 ] || die "run: no program"
    start
    set_dpi "$dpi"
    [ -z "$dark" ] || set_colours dark
    local log result
    log=$(mktemp "$dir/output.XXXXXX")
    export QX_VIRTUAL_DISPLAY=1
    timeout -k 5 "$seconds" "$wine" "$@" >"$log" 2>"$log.err" </dev/null
    result=$?
    [ -z "$dark" ] || set_colours own
    cat "$log"
    # Wine's own remarks about 32-bit support are of no use to anyone.
    grep -vE 'wine32 is missing|multiarch|dpkg --add-architecture|^$|apt-get (update|install)|^it looks like' "$log.err" >&2
    rm -f "$log" "$log.err"
    [ $result -ne 124 ] && [ $result -ne 137 ] || echo "wine.sh: $1 did not end within $seconds seconds" >&2
    return $result
}

case ${1:-} in
    run)
        shift
        run "$@"
        ;;
    show)
        start
        set_dpi 96
        DISPLAY=$2
        shift 2
        "$wine" "$@"
        ;;
    start) start ;;
    stop) stop ;;
    keep) keep ;;
    winepath) echo "$WINEPREFIX" ;;
    screenshot)
        running || die "nothing runs"
        timeout -k 5 20 import -display ":$(cat "$dir/display")" -window root "$2"
        ;;
    *) die "see the head of this file" ;;
esac
