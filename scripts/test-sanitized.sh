#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Builds and runs the unit tests under sanitizers, or builds only: test-sanitized.sh asan|tsan [build]. The tests of the real
# programs stay out: they are about time. Leaks of other libraries are listed in tests/lsan.supp; ours have no entry there.
set -euo pipefail
. "$XP_ROOT/scripts/common.sh"
cd "$XP_ROOT"
export LSAN_OPTIONS="suppressions=$XP_ROOT/tests/lsan.supp" ASAN_OPTIONS=detect_stack_use_after_return=1
export UBSAN_OPTIONS=print_stacktrace=1
export TSAN_OPTIONS="halt_on_error=0 report_signal_unsafe=0 suppressions=$XP_ROOT/tests/tsan.supp"
# On an integration machine, where changes wait for it, the panel stays out: its few tests cost as much to build as a third
# of all others. So do the looks at every pointer before it is used, a quarter of what there is to compile: what is null
# ends the program anyway.
without='system;fronts' unlooked=vptr
[ "${XP_CI:-no}" != yes ] || without+=';panel' unlooked+=,null,alignment,object-size,nonnull-attribute,returns-nonnull-attribute
cmake --preset "$1" -DXP_TESTS_WITHOUT="$without" -DXP_SANITIZE_WITHOUT="$unlooked" >/dev/null
build=(ninja -C "build-$1" -j "$XP_JOBS" unit_tests)
[ "${2:-}" != build ] || exec "${build[@]}" # it ends what it has begun when it is ended
"${build[@]}" >&2
# Sound comes in real time, which a program under a sanitizer does not keep. The scenarios of whole recorders take as long
# as all other tests together: an integration machine leaves them to whoever asks by name.
left_out=(-E '^Sound(In|Out)put')
[ "${XP_CI:-no}" != yes ] || left_out+=(-LE scenarios)
xp_ctest --test-dir "build-$1" --output-on-failure --no-tests=error -j "$XP_JOBS" "${left_out[@]}"
