#!/usr/bin/env bash
#
# The page library that macros of the own browser can ask for: fetched by npm at one version, checked
# against its hash and made small. To be sourced after tools/setup.sh.
: "${root:?tools/setup.sh comes first}" "${build:?}"

page_library=puppeteer-core
page_library_version=24.43.1
page_library_hash=4f949c50c02c9a174d6e00d1e3500611261e4ba57d31281eb644a7561856fa05efcc2e3655eb0a0a7e6577cee00190c9eaf2c72fd1a446f63d5ad4164a7c056f

# Leaves page_library.js and its licence's name in build/page_library, where the build finds it.
fetch_page_library() {
    local folder=$build/page_library archive=$page_library-$page_library_version.tgz
    [ "$(cat "$folder/version" 2>/dev/null)" != "$page_library_version" ] || return 0
    command -v npm >/dev/null || install_packages npm
    install_packages esbuild
    say "fetching $page_library $page_library_version"
    rm -rf "$folder"
    mkdir -p "$folder"
    (
        cd "$folder"
        npm_config_cache=$folder/cache npm_config_update_notifier=false \
            npm pack "$page_library@$page_library_version" &&
            sha512sum --check <<<"$page_library_hash  $archive" &&
            tar xzf "$archive" &&
            esbuild --minify --charset=utf8 package/lib/es5-iife/puppeteer-core-browser.js \
                --outfile=page_library.js &&
            sed -nE 's/^ *"license": "(.*)",?$/\1/p' package/package.json >license
    ) >"$build/page_library.log" 2>&1 ||
        fail "$page_library cannot be fetched or is not what it should be; build/page_library.log tells why"
    rm -rf "$folder/cache" "$folder/package" "${folder:?}/$archive"
    echo "$page_library_version" >"$folder/version"
}

# For commands that can do without it.
try_page_library() {
    (fetch_page_library) ||
        say "WITHOUT $page_library: puppeteer() is missing in macros, and its tests are skipped"
}
