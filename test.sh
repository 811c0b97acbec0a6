#!/usr/bin/env bash
# Builds Zelmap and runs every test. On a fresh Debian 12 machine it first installs what
# is missing. --sanitize: a separate clang build with AddressSanitizer and
# UndefinedBehaviorSanitizer, which also builds the libFuzzer targets. --tsan: a clang build
# with ThreadSanitizer of the tests of the threaded code only.
set -euo pipefail
cd "$(dirname "$0")"

mode=normal
for arg in "$@"; do
    case "$arg" in
        --sanitize) mode=sanitize ;;
        --tsan) mode=tsan ;;
        -h|--help) echo "usage: ./test.sh [--sanitize|--tsan]"; exit 0 ;;
        *) echo "test.sh: unknown argument $arg" >&2; exit 2 ;;
    esac
done

tools/install-deps.sh

jobs=$(nproc 2>/dev/null || echo 2)
# A compiler cache, where the machine has one, makes repeated clean builds cheap.
launcher=()
if command -v ccache >/dev/null 2>&1; then
    export CCACHE_BASEDIR="$PWD"
    launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
if [ "$mode" = tsan ]; then
    # Only the tests that start threads are built and run here.
    dir=build-tsan
    cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "${launcher[@]}" \
        -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
        -DZELMAP_TSAN=ON -DZELMAP_BENCH=OFF
    threaded='tst_matching tst_windowfilters tst_LcfEngine tst_lcfa'
    # shellcheck disable=SC2086
    cmake --build "$dir" -j "$jobs" --target $threaded
    export TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1 suppressions=$PWD/tools/tsan.supp"
    QT_QPA_PLATFORM=offscreen ctest --test-dir "$dir" -R "^(${threaded// /|})\$" --output-on-failure
    exit 0
fi
if [ "$mode" = sanitize ]; then
    dir=build-sanitize
    cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "${launcher[@]}" \
        -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
        -DZELMAP_SANITIZE=ON -DZELMAP_FUZZ=ON -DZELMAP_BENCH=OFF
    export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:strict_string_checks=1
    export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
else
    dir=build
    cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Release "${launcher[@]}"
fi
cmake --build "$dir" -j "$jobs"
QT_QPA_PLATFORM=offscreen ctest --test-dir "$dir" --output-on-failure -j "$jobs"
