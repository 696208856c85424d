#!/usr/bin/env bash
#
# Lays out what a person gets, for the installer and for the archive alike. To be sourced after
# tools/setup.sh.
: "${root:?tools/setup.sh comes first}" "${build:?}"
: "${page_library:?tools/lib/page_library.sh comes first, too}" "${page_library_version:?}"

stage_programs() { # folder
    local release=$build/release
    cp "$release/talvern.dll" "$release/tvntrace/tvntrace.exe" "$1"
    mkdir "$1/include"
    cp "$release"/Interface/generated/Interface{.h,_i.c,.tlb} Interface/Interface.idl "$1/include"
    mkdir "$1/browser"
    cp "$release/browser/talvern.exe" "$1/browser"
    cp -r browser/Macros "$1/browser"
    mv "$1/browser/Macros/"{hotel_search,"Hotel Search"}.js
    cp tools/packaging/{,un,path-}register.cmd "$1"
}

# The self-test for the machine where it is installed: below a folder of its own, each program lies
# in the same folder as in its build.
stage_selftest() { # folder
    local programs=$1/selftest
    mkdir -p "$programs/scripts"
    cp tools/packaging/selftest.cmd "$1"
    cp tests/script_host_test.{vbs,js}{,.txt} "$programs/scripts"
    (cd "$build/release" && cp --parents -t "$programs" tests/talvern_tests.exe \
        tests/window_owner.exe tests/windows/iexplore.exe tvntrace/tvntrace.exe \
        standins/{talvern,iexplore,firefox,runner}.exe)
}

# Whose code is linked into the programs: the compiler's runtime libraries, the platform's threads and
# start-up code, the header-only libraries, the page library and, in the self-test, the test
# framework.
notice_packages() {
    local compiler=x86_64-w64-mingw32-g++-posix file
    for file in "$($compiler -print-file-name=libstdc++.a)" "$($compiler -print-libgcc-file-name)" \
        "$($compiler -print-file-name=libwinpthread.a)" \
        /usr/include/boost/shared_ptr.hpp /usr/include/CLI/CLI.hpp /usr/include/nlohmann/json.hpp \
        /usr/src/googletest/googletest/include/gtest/gtest.h; do
        dpkg -S "$(realpath "$file")" | sed 's/:.*//' ||
            fail "no package holds $file, so its notice cannot be found"
    done
}

stage_notices() { # file
    local package
    {
        echo "What others wrote of the programs here, and on which terms it is used."
        for package in $(notice_packages); do
            printf '\n======== %s %s\n\n' "$package" \
                "$(dpkg-query -W -f='${Version}' "$package")"
            cat "/usr/share/doc/$package/copyright"
        done
        if [ -f "$build/page_library/license" ]; then
            printf '\n======== %s %s, %s\n\n' "$page_library" "$page_library_version" \
                "$(cat "$build/page_library/license")"
            cat /usr/share/common-licenses/Apache-2.0
        fi
    } >"$1"
}

# The stand-ins come as programs, with the self-test: what they are built on is not delivered.
stage_examples() { # folder
    find examples -path examples/standins -prune -o \
        -type f ! -name CMakeLists.txt ! -name '*.md' -print0 |
        xargs -0 cp --parents -t "$1"
}

# The documents as pages, beside the pictures that they show.
stage_documents() { # folder
    local document documents page
    mapfile -t documents < <(find README.md CHANGELOG.md docs examples -name '*.md' 2>/dev/null |
        LC_ALL=C sort)
    find docs -name '*.svg' -exec cp --parents -t "$1" {} +
    for document in "${documents[@]}"; do
        page=$1/${document%.md}.html
        mkdir -p "$(dirname "$page")"
        sed '/^<!-- only in the sources -->/,/^<!-- everywhere -->/d' "$document" |
            DOCUMENTS="${documents[*]}" HERE=$(dirname "$document") STAGE=$1 \
            pandoc --from gfm --to html5 --standalone --lua-filter tools/packaging/links.lua \
            --metadata "pagetitle=$(sed -n 's/^# //p' "$document" | head -1)" \
            --output "$page" - || fail "$document cannot be made a page"
    done
}

# Every link of the pages has to lead somewhere.
check_links() { # folder
    local page link path anchor broken=()
    while IFS=: read -r page link; do
        path=${link%%#*} anchor=
        [ "$path" = "$link" ] || anchor=${link#*#}
        path=${path:+$(dirname "$page")/$path}
        path=${path:-$page}
        if [ ! -e "$path" ]; then
            broken+=("${page#"$1/"}: $link")
        elif [ -n "$anchor" ] && ! grep -qF "id=\"$anchor\"" "$path"; then
            broken+=("${page#"$1/"}: $link")
        fi
    done < <(find "$1" -name '*.html' -print0 | xargs -0 grep -oHE '(href|src)="[^"]+"' |
        sed -E 's/:(href|src)="([^"]*)"$/:\2/' | grep -vE ':[a-z]+:')
    [ ${#broken[@]} -eq 0 ] || fail "links in the pages lead nowhere:"$'\n'"$(printf '%s\n' "${broken[@]}")"
}

# The same sources give the same names, times (SOURCE_DATE_EPOCH) and permissions.
stage() { # folder
    rm -rf "$1"
    mkdir -p "$1"
    stage_programs "$1"
    stage_selftest "$1/tools"
    stage_notices "$1/NOTICES.txt"
    stage_examples "$1"
    stage_documents "$1"
    check_links "$1"
    find "$1" -type f -exec chmod 644 {} + -o -type d -exec chmod 755 {} +
    find "$1" -exec touch -d "@$SOURCE_DATE_EPOCH" {} +
}
