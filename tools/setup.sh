#!/usr/bin/env bash
# shellcheck disable=SC2034 # the lists of packages are for those who source this
#
# What the commands in this folder share: packages, builds and Wine prefixes. To be sourced.
# Everything that is made lies below build/; nothing else is written.

set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$root/build

# Boost, GoogleTest and Catch are headers or sources that are compiled for Windows here.
build_packages=(cmake ninja-build g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 mingw-w64-tools
    libwine libwine-dev wine64 wine libboost-dev googletest)
lint_packages=(clang clang-format clang-tidy shellcheck)
bench_packages=(catch2)

say() { printf '==> %s\n' "$*"; }

fail() {
    printf 'error: %s\n' "$*" >&2
    exit 1
}

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    else
        sudo "$@"
    fi
}

is_installed() { [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]; }

install_packages() { # package...
    local package missing=() log=$build/packages.log
    for package in "$@"; do
        is_installed "$package" || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    command -v apt-get >/dev/null ||
        fail "these packages are missing and there is no apt-get to install them with: ${missing[*]}"
    [ "$(id -u)" -eq 0 ] || command -v sudo >/dev/null ||
        fail "these packages are missing; install them as root, or install sudo: ${missing[*]}"
    say "installing packages: ${missing[*]}"
    as_root env DEBIAN_FRONTEND=noninteractive apt-get update >"$log" 2>&1 ||
        say "the package lists could not be brought up to date; going on with those that are there"
    if ! as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y --no-install-recommends "${missing[@]}" >>"$log" 2>&1; then
        local failed=()
        for package in "${missing[@]}"; do
            is_installed "$package" ||
                as_root env DEBIAN_FRONTEND=noninteractive \
                    apt-get install -y --no-install-recommends "$package" >>"$log" 2>&1 ||
                failed+=("$package")
        done
        [ ${#failed[@]} -eq 0 ] ||
            fail "cannot install ${failed[*]}; build/packages.log tells why"
    fi
}

build_preset() { # preset [target...]
    local preset=$1 target targets=() log=$build/$1.log
    shift
    for target in "$@"; do
        targets+=(--target "$target")
    done
    say "building $preset"
    if [ ! -f "$build/$preset/build.ninja" ]; then
        (cd "$root" && cmake --preset "$preset") >"$log" 2>&1 ||
            fail "the build of $preset cannot be configured; build/$preset.log tells why"
    fi
    if ! cmake --build "$build/$preset" "${targets[@]}" >"$log" 2>&1; then
        grep -E 'error|FAILED' "$log" | head -20 >&2
        fail "$preset does not build; the whole story is in build/$preset.log"
    fi
}

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
    # The first program brings Wine's own services up, which keep what it has for an output open.
    wine cmd /c exit >/dev/null 2>&1 </dev/null || true
}

# Ends the server of the prefix in use, and with it every program that still runs in it.
stop_wine() {
    "$(wine_tool wineserver64)" -k >/dev/null 2>&1 || true
    "$(wine_tool wineserver64)" -w >/dev/null 2>&1 || true
}

windows_path() { # a file of this machine as programs on Wine name it
    printf 'Z:%s\n' "${1//\//\\}"
}

# Registers the DLL of a preset and tells the registry where the stand-in browsers are, as the
# product's and the browsers' own installers would.
install_product() { # preset
    local folder
    folder=$(windows_path "$build/$1/standins")
    wine regsvr32 /s "$(windows_path "$build/$1/talvern.dll")" ||
        fail "regsvr32 cannot register build/$1/talvern.dll (exit code $?)"
    {
        wine reg add 'HKLM\SOFTWARE\Talvern' /reg:32 /v PathBasic /d "$folder" /f
        wine reg add 'HKLM\SOFTWARE\Mozilla\Mozilla Firefox\3.6.8 (en-US)\Main' /reg:32 \
            /v PathToExe /d "$folder\\firefox.exe" /f
        wine reg add 'HKCR\CLSID\{0002DF01-0000-0000-C000-000000000046}\LocalServer32' /reg:32 \
            /ve /d "\"$folder\\iexplore.exe\"" /f
    } >/dev/null || fail "the registry of the Wine prefix cannot be written"
}
