#!/usr/bin/env bash
#
# What installers would write to the registry of the Wine prefix in use. To be sourced after
# tools/lib/wine.sh.
: "${build:?tools/setup.sh and tools/lib/wine.sh come first}"

# Registers the DLL of a preset and tells the registry where the browsers are, as the product's and
# the browsers' own installers would: the stand-ins, and the own browser in the folder that is named.
install_product() { # preset [folder of the own browser]
    local folder own
    folder=$(windows_path "$build/$1/standins")
    own=$(windows_path "$build/$1/${2-standins}")
    wine regsvr32 /s "$(windows_path "$build/$1/talvern.dll")" ||
        fail "regsvr32 cannot register build/$1/talvern.dll (exit code $?)"
    {
        wine reg add 'HKLM\SOFTWARE\Talvern' /reg:32 /v PathBasic /d "$own" /f
        wine reg add 'HKLM\SOFTWARE\Mozilla\Mozilla Firefox\3.6.8 (en-US)\Main' /reg:32 \
            /v PathToExe /d "$folder\\firefox.exe" /f
        wine reg add 'HKCR\CLSID\{0002DF01-0000-0000-C000-000000000046}\LocalServer32' /reg:32 \
            /ve /d "\"$folder\\iexplore.exe\"" /f
    } >/dev/null || fail "the registry of the Wine prefix cannot be written"
}
