#!/usr/bin/env bash
#
# Building a preset. To be sourced after tools/setup.sh.
: "${root:?tools/setup.sh comes first}" "${build:?}"

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
