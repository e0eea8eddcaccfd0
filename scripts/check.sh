#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Everything that can be said about the code without a person: names what it ran and what failed.
#   check.sh [format|folders|libraries|params|includes|lint|asan|tsan|fuzz|kills|crash|day|walk|prores|page|neon|package|debian13 ...] [--long]
# Nothing named: all but neon, package and debian13.
set -uo pipefail
. "$XP_ROOT/scripts/common.sh"
cd "$XP_ROOT"
export XP_WERROR=ON # of a build that is made here

check_format() { git ls-files -z '*.cpp' '*.h' | xargs -0 clang-format --dry-run -Werror; }

check_folders() { scripts/check-folders.sh; }

# The daemon is headless: of Qt it may load the core library only. All that is used is in packaging/packages.txt.
check_libraries() {
    xp_build || return 1
    local program extra status=0
    for program in "$XP_BUILD"/bin/xp*; do
        extra=$(ldd "$program" | grep -oE 'libQt6[A-Za-z]+' | grep -vx libQt6Core || true)
        [ -z "$extra" ] || { echo "$program loads" $extra; status=1; }
    done
    scripts/check-packages.sh || status=1
    return $status
}

# The references of all parameters and alarms are the tables' own.
check_params() {
    xp_build || return 1
    "$XP_BUILD/bin/xpctl" params --markdown | diff -u docs/parameters.md - ||
        { echo "make it anew: xpctl params --markdown >docs/parameters.md"; return 1; }
    "$XP_BUILD/bin/xpctl" alarms --markdown | diff -u <(grep '^|' docs/alarms.md) - ||
        { echo "put the output of xpctl alarms --markdown in place of the table in docs/alarms.md"; return 1; }
}

# Every file names what it uses: the precompiled headers must not be what makes it compile.
check_includes() {
    cmake -S . -B build-includes -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O0 -DXP_PRECOMPILED=OFF -DXP_WERROR=ON >/dev/null &&
        cmake --build build-includes -j "$XP_JOBS"
}

# With the build of check_includes: clang cannot read the other compiler's precompiled headers.
check_lint() {
    [ -f build-includes/compile_commands.json ] || check_includes || return 1
    git ls-files '*.cpp' ':!cmake' ':!tests/fuzz' | xargs -P "$XP_JOBS" -n 4 clang-tidy --quiet -p build-includes
}

# Every access to memory and every sum is watched.
check_asan() { scripts/test-sanitized.sh asan; }
# With a Qt that the sanitizer can see into.
check_tsan() { scripts/qt-with-tsan.sh && scripts/test-sanitized.sh tsan; }

# Runs some tests of one program. None, or one that is skipped: then nothing has been shown.
run_tests() { # PROGRAM FILTER
    local log status=0
    log=$(mktemp)
    "$XP_BUILD/bin/$1" --gtest_filter="$2" | tee "$log" || status=1
    grep -qE '^\[  PASSED  \] [1-9]' "$log" || status=1
    ! grep -E '^\[  SKIPPED \]' "$log" || status=1
    rm -f "$log"
    return $status
}

# Clips under kills, cuts, flips and failing calls, and power cuts on a real file system; --long in full numbers.
clip_rounds() {
    xp_build || return 1
    [ "$XP_LONG" = yes ] && export XP_FULL_ROUNDS=1
    run_tests test_clip "$1"
}
check_kills() { clip_rounds 'ClipFaults.*:ClipDamage.*'; }
check_crash() { clip_rounds 'ClipCrash.*'; }

# A recorder that is left on, on virtual time; --long for a whole day (about an hour).
check_day() {
    xp_build || return 1
    [ "$XP_LONG" = yes ] && export XP_FULL_ROUNDS=1
    run_tests test_scenarios 'Day.*'
}

# Random ways that nobody has gone before, for five minutes; --long for an hour. A seed that fails is printed, and
# XP_SEED=N walks it again.
check_walk() {
    local seconds=300
    [ "$XP_LONG" = yes ] && seconds=3600
    xp_build && XP_WALK_SECONDS=$seconds run_tests test_scenarios 'RandomWalk.*'
}

# Everything that reads what others write, against bytes of any kind: a minute each (--long: an hour). What a fuzzer learns
# stays in the build directory; a finding is a file there that it takes as its argument, and one of tests/fuzz/findings when
# it has been mended. XP_FUZZ=NAME runs one.
check_fuzz() {
    local seconds=60 fuzzer name corpus known status=0
    [ "$XP_LONG" = yes ] && seconds=3600
    cmake --preset fuzz >/dev/null && cmake --build --preset fuzz --target fuzzers -j "$XP_JOBS" || return 1
    # (Whoever ends by a finding leaves his files.)
    scratch=$(mktemp -d -p /dev/shm xpfuzz-XXXXXX) || return 1
    for fuzzer in build-fuzz/bin/fuzz_${XP_FUZZ:-*}; do
        name=${fuzzer##*/fuzz_}
        corpus=build-fuzz/corpus/$name
        known=tests/fuzz/findings/$name
        mkdir -p "$corpus"
        say "  fuzz $name"
        TMPDIR=$scratch LSAN_OPTIONS="suppressions=$XP_ROOT/tests/lsan.supp:print_suppressions=0" \
            "$fuzzer" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=2048 -max_len=65536 -verbosity=0 \
            -print_final_stats=1 -artifact_prefix="build-fuzz/finding-$name-" "$corpus" \
            $([ ! -d "$known" ] || echo "$known") &
        # (In the background, so that the end of this script is the end of the fuzzer at once.)
        fuzzing=$!
        wait "$fuzzing" || status=1
        fuzzing=
    done
    rm -rf "$scratch"
    return $status
}

# Random pictures through the ProRes coder and an independent decoder, mutated ones through ours: fifty thousand, --long: a
# million.
check_prores() {
    local pictures=50000
    [ "$XP_LONG" = yes ] && pictures=1000000
    xp_build || return 1
    XP_PRORES_PICTURES=$pictures run_tests test_prores 'ProResFrames.random*:ProResDecode.agrees*:ProResDecode.mutated*'
}

# The panel's page: its bundle, byte for byte from its sources, types and linter.
check_page() {
    (xp_setup_page) || { echo "node, npm or the page's packages cannot be had"; return 1; }
    local made status=0
    made=$(mktemp -d)
    (cd companions/panel/page && npm run --silent build -- "$made" && npm run --silent check) || status=1
    diff -r "$made" companions/panel/page/dist || { echo "make it anew: cd companions/panel/page && npm run build"; status=1; }
    rm -rf "$made"
    return $status
}

# The ProRes coder on 64-bit ARM, by a cross compiler and qemu: downloads; only when named.
check_neon() { scripts/check-neon.sh; }

# The Debian packages in a Debian root: some minutes, and downloads; only when named.
check_package() { xp_build && scripts/check-package.sh; }

# Builds and tests in a Debian 13 root: most of an hour, and downloads; only when named.
check_debian13() { scripts/check-debian13.sh; }

# Whoever stops it stops what runs, and has no check called good that did not come to its end. (A fuzzer that is interrupted
# ends as if all were well.)
fuzzing='' scratch=''
interrupted() {
    trap - INT TERM HUP
    [ -z "$fuzzing" ] || { kill -KILL "$fuzzing" && wait "$fuzzing"; } 2>/dev/null
    [ -z "$scratch" ] || rm -rf "$scratch"
    die "check: interrupted in ${name:-preparation}"
}
trap interrupted INT TERM HUP

wanted=() long=no
for argument in "$@"; do
    case "$argument" in
        --long) long=yes ;;
        *) declare -F "check_$argument" >/dev/null || die "check: no check named $argument"; wanted+=("$argument") ;;
    esac
done
[ ${#wanted[@]} -gt 0 ] || wanted=(format folders libraries params includes lint asan tsan fuzz kills crash day walk prores page)
export XP_LONG=$long
failed=()
for name in "${wanted[@]}"; do
    say "check $name ..."
    if "check_$name"; then say "check $name: ok"; else say "check $name: FAILED"; failed+=("$name"); fi
done
[ ${#failed[@]} -eq 0 ] || die "failed: ${failed[*]}"
say "all of these hold: ${wanted[*]}"
