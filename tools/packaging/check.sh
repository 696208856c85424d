#!/usr/bin/env bash
#
# Tries the installer and the archive on a Wine prefix as fresh as a machine can be. To be sourced by
# tools/package, which has made both.
: "${root:?tools/setup.sh comes first}" "${build:?}" "${work:?}" "${name:?}" "${version:?}"
# shellcheck source=tools/lib/wine.sh
source "$root/tools/lib/wine.sh"

registry() { # file: all that the machine's software has in the registry
    wine reg export 'HKLM\SOFTWARE' "$(windows_path "$1")" /y >/dev/null ||
        fail "the registry of the Wine prefix cannot be read"
    iconv -f utf-16 -t utf-8 "$1" | tr -d '\r' | grep . >"$1.txt"
}

# The installer's own lists of products stay when they are empty.
expect_registry_as_before() { # when
    local left
    registry "$work/after.reg"
    left=$(diff "$work/before.reg.txt" "$work/after.reg.txt" |
        grep '^[<>]' | grep -vE '^> \[HKEY_LOCAL_MACHINE\\.*\\Installer[]\\]' || true)
    [ -z "$left" ] || fail "$1, the registry is not as it was:"$'\n'"$left"
}

# Into a file, because other processes that Wine starts would hold a pipe open.
expect_answer() { # answer, when
    local answer
    wine cscript.exe //nologo "$(windows_path "$work/version.vbs")" >"$work/answer.log" 2>&1 || true
    answer=$(tr -d '\r' <"$work/answer.log")
    [ "$answer" = "$1" ] || fail "$2, the script should print '$1' and prints '$answer'"
    say "$2: $answer"
}

expect_value() { # key, value, text in what the registry has there
    wine reg query "$1" /v "$2" /reg:32 2>/dev/null | grep -qF "$3" ||
        wine reg query "$1" /v "$2" 2>/dev/null | grep -qF "$3" ||
        fail "'$2' of $1 in the registry is not '$3'"
}

# Wine's installer leaves the separators of what it removes, and its shell expands what it reads.
environment='HKLM\SYSTEM\CurrentControlSet\Control\Session Manager\Environment'
path_of_machine() { # file
    wine reg query "$environment" /v PATH |
        sed -E 's/;*\r?$//; s/%SystemRoot%/C:\\windows/g' >"$1" || fail "the path cannot be read"
}

expect_path() { # "with" or "without" the folder of the product, when
    path_of_machine "$work/path.txt"
    if [ "$1" = without ]; then
        cmp -s "$work/path-before.txt" "$work/path.txt" || fail "$2, the path is not as it was"
    else
        # With its suffix: Wine's shell adds none where the folder's name has a dot.
        expect_words 0 "$version" 'tvntrace.exe --version'
    fi
}

# Outside Wine only the lower eight bits of an exit code arrive: 3010 (restart required) becomes 194.
restart_asked_for=194
msi() { # exit code, option, package
    local code=0
    wine msiexec "$2" "$(windows_path "$3")" /qn || code=$?
    [ "$code" -eq "$1" ] || fail "msiexec $2 ended with exit code $code, not $1"
}

expect_words() { # exit code, words, command
    local code=0
    wine cmd /c "$3" >"$work/words.log" 2>&1 || code=$?
    if [ "$code" -ne "$1" ] || ! grep -qF "$2" "$work/words.log"; then
        cat "$work/words.log" >&2
        fail "'$3' ended with exit code $code, not with $1 and '$2'"
    fi
}

check_msi() {
    local installed="$WINEPREFIX/drive_c/Program Files/Talvern Scripting Interface" menu
    local uninstall='HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Uninstall'
    msi 0 /i "$build/$name.msi"
    expect_answer "$interface" 'after the installation'
    diff -r "$work/$name" "$installed" -x '*register.cmd' ||
        fail "what is installed is not what was laid out"
    menu=$(find "$WINEPREFIX/drive_c" -path '*/Programs/Talvern/*.lnk' | wc -l)
    [ "$menu" -eq 3 ] || fail "the Start menu has $menu entries, not 3"
    expect_value 'HKLM\SOFTWARE\Talvern' PathBasic 'C:\Program Files\Talvern Scripting Interface\browser'
    expect_path with 'after the installation'
    if grep -qE 'tools/|CONTRIBUTING' "$installed/README.html"; then
        fail "the installed first page offers what is not installed"
    fi
    uninstall=$(wine reg query "$uninstall" | tr -d '\r' | grep '{' | tail -1)
    expect_value "$uninstall" DisplayVersion "$version"
    expect_value "$uninstall" Publisher Talvern

    # Another build, while a script uses the first: nothing breaks, and after the restart that is
    # asked for the other one is there.
    rm -rf "$work/other"
    mkdir "$work/other"
    cp -a "$work/$name" "$work/other"
    echo >>"$work/other/$name/talvern.dll"
    make_msi "$work/other/$name" "$work/other.msi"
    : >"$work/hold.log"
    wine cscript.exe //nologo "$(windows_path "$work/hold.js")" >>"$work/hold.log" 2>&1 &
    timeout 60 sh -c "until grep -q holding '$work/hold.log'; do sleep 0.2; done" ||
        fail "the script that is to use the first build does not come up"
    msi "$restart_asked_for" /i "$work/other.msi"
    expect_answer "$interface" 'while another build is installed and a script has the first'
    touch "$WINEPREFIX/drive_c/release"
    wait $!
    grep -q "released $interface" "$work/hold.log" || fail "the script that had the first has failed"
    stop_wine
    start_wine package
    wine wineboot >/dev/null 2>&1
    cmp "$work/other/$name/talvern.dll" "$installed/talvern.dll" ||
        fail "after the restart, the first build is still there"
    expect_answer "$interface" 'after the restart'
    registry "$work/again.reg"
    [ "$(grep -c '^"LocalPackage"=' "$work/again.reg.txt")" -eq 1 ] ||
        fail "the other build has not taken the place of the first"

    msi 0 /x "$work/other.msi"
    expect_answer 'error 429' 'after the removal'
    [ ! -e "$installed" ] || fail "the removal leaves a folder: $installed"
    [ -z "$(find "$WINEPREFIX/drive_c" -name Talvern)" ] || fail "the removal leaves the Start menu"
    expect_registry_as_before 'after the removal'
    expect_path without 'after the removal'
}

check_zip() {
    local folder="$WINEPREFIX/drive_c/unpacked" batch="C:\\unpacked\\$name"
    rm -rf "$folder"
    unzip -q "$build/$name.zip" -d "$folder"
    mkdir "$folder/part"
    cp "$folder/$name/register.cmd" "$folder/part"
    # Wine's shell stops its search at an empty entry, and its installer has left some.
    wine reg add "$environment" /v PATH /t REG_EXPAND_SZ /d '%SystemRoot%\system32;%SystemRoot%' /f >/dev/null
    path_of_machine "$work/path-before.txt"
    expect_words 2 'is not beside this file' 'C:\unpacked\part\register.cmd'
    expect_words 1 'needs 64-bit Windows' "set PROCESSOR_ARCHITECTURE=x86& $batch\\register.cmd"
    # Whoever is not an administrator cannot write there; here nobody can.
    expect_words 3 'needs an administrator' "set SystemRoot=C:\\nowhere& $batch\\register.cmd"
    expect_words 3 'needs an administrator' "set SystemRoot=C:\\nowhere& $batch\\unregister.cmd"
    expect_answer 'error 429' 'after the refusals'
    expect_words 0 'Registered' "$batch\\register.cmd"
    expect_answer "$interface" 'after register.cmd'
    expect_value 'HKLM\SOFTWARE\Talvern' PathBasic "$batch\\browser"
    expect_words 0 'Registered' "$batch\\register.cmd" # a second time, which adds nothing to the path
    expect_path with 'after register.cmd'
    expect_words 0 'Unregistered' "$batch\\unregister.cmd"
    expect_answer 'error 429' 'after unregister.cmd'
    expect_registry_as_before 'after unregister.cmd'
    expect_path without 'after unregister.cmd'
}

interface=$(sed -n 's/^#define TVN_INTERFACE_VERSION //p' "$build/release/include/Version.h")
cat >"$work/version.vbs" <<'END'
On Error Resume Next : WScript.Echo CreateObject("talvern").tvnGetInterfaceVersion() : If Err Then WScript.Echo "error", Err.Number
END
cat >"$work/hold.js" <<'END'
var app = new ActiveXObject("talvern");
var files = new ActiveXObject("Scripting.FileSystemObject");
WScript.Echo("holding");
while (!files.FileExists("C:\\release")) {}
WScript.Echo("released " + app.tvnGetInterfaceVersion());
END
rm -rf "$build/wine/package"
start_wine package
trap stop_wine EXIT
wine wineboot >/dev/null 2>&1 # as after a restart, which leaves something in the registry too
expect_answer 'error 429' 'before the installation'
registry "$work/before.reg"
path_of_machine "$work/path-before.txt"
check_msi
check_zip
say "nothing is left"
