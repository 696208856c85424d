#!/usr/bin/env bash
# shellcheck disable=SC2034 # the lists of packages are for those who source this
#
# What all commands in this folder share: paths, messages, and the packages that they need. To be
# sourced; what only some of them need is in the files of lib/, sourced after this one. Everything
# that is made lies below build/; nothing else is written.

set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$root/build

# Boost, GoogleTest and nlohmann's JSON are headers or sources that are compiled for Windows here.
build_packages=(cmake ninja-build g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 mingw-w64-tools
    libwine libwine-dev wine64 wine libboost-dev libcli11-dev nlohmann-json3-dev googletest python3)
# What the own browser drives, and what runs its JavaScript in tests.
browser_packages=(chromium nodejs)
# What compiles the examples that Wine cannot run.
example_packages=(mono-mcs)
lint_packages=(clang clang-format clang-tidy shellcheck codespell)
coverage_packages=(gcovr)
bench_packages=(nlohmann-json3-dev)
measure_packages=(chromium-driver gnuplot-nox)
package_packages=(wixl msitools zip unzip pandoc python3-minimal nlohmann-json3-dev)

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
