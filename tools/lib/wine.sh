#!/usr/bin/env bash
#
# Wine prefixes: making, starting and ending one, and running programs in it. To be sourced after
# tools/setup.sh.
: "${root:?tools/setup.sh comes first}" "${build:?}"

# Wine keeps to a prefix of its own, a home and a folder for temporary files below build/. It shows
# no windows, so it needs no display, and a program that crashes ends at once.
use_prefix() { # name
    export WINEPREFIX=$build/wine/$1 WINEARCH=win64 WINEDEBUG=-all
    export WINEDLLOVERRIDES='winemenubuilder.exe=d;mscoree=;mshtml='
    export HOME=$build/wine/home TMPDIR=$build/wine/tmp
    mkdir -p "$HOME" "$TMPDIR" "$build/wine"
}

wine() { "$root/tools/wine" "$@"; }

wine_tool() { # name: a program of Wine's that is not on PATH
    local path
    path=$(dpkg -L wine64 libwine 2>/dev/null | grep -E "/$1\$" | head -1)
    [ -x "$path" ] || path=$(command -v "${1%64}" || true)
    [ -n "$path" ] || fail "Wine's $1 is not where its packages say it is"
    printf '%s\n' "$path"
}

start_wine() { # name
    use_prefix "$1"
    if [ ! -f "$WINEPREFIX/ready" ]; then
        say "making the Wine prefix '$1'"
        rm -rf "$WINEPREFIX"
        wine wineboot -i >"$build/wine/$1.log" 2>&1 || fail "Wine cannot make a prefix; see build/wine/$1.log"
        wine reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f >/dev/null
        wine reg add 'HKCU\Software\Wine\WineDbg' /v ShowCrashDialog /t REG_DWORD /d 0 /f >/dev/null
        stop_wine # what it starts in a new prefix does not know these values yet
        touch "$WINEPREFIX/ready"
    fi
    "$(wine_tool wineserver64)" -p >/dev/null 2>&1 || true
    # The first program starts Wine's own services, which inherit its output and keep it open.
    wine cmd /c exit >/dev/null 2>&1 </dev/null || true
}

# Ends the server of the prefix in use, and with it every program that still runs in it, but not the
# programs of this machine that such a program has started.
stop_wine() {
    local file
    for file in $(grep -lsF -- "--user-data-dir=$WINEPREFIX/" /proc/[0-9]*/cmdline || true); do
        file=${file%/cmdline}
        kill "${file#/proc/}" 2>/dev/null || true
    done
    "$(wine_tool wineserver64)" -k >/dev/null 2>&1 || true
    "$(wine_tool wineserver64)" -w >/dev/null 2>&1 || true
}

windows_path() { # a file of this machine as programs on Wine name it
    printf 'Z:%s\n' "${1//\//\\}"
}
