#!/usr/bin/env bash
# Installs what is missing, builds Zelmap and starts it with the given arguments.
#   ./run.sh [ZELMAP ARGUMENTS...]
#   ./run.sh --demo [ZELMAP ARGUMENTS...]   first writes a synthetic data set and opens it
# ZELMAP_BUILD_DIR chooses another build directory (default: build).
set -euo pipefail
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")"

build=${ZELMAP_BUILD_DIR:-build}
given="$*"
demo=0
if [ "${1:-}" = "--demo" ]; then
    demo=1
    shift
fi

tools/install-deps.sh
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" --target zelmap zelmap-cli

if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ] && [ -z "${QT_QPA_PLATFORM:-}" ]; then
    cat >&2 <<MSG
run.sh: there is no display (DISPLAY, WAYLAND_DISPLAY and QT_QPA_PLATFORM are all unset),
so the Zelmap window cannot open. Ways on:
  xvfb-run ./run.sh $given
      runs Zelmap on a virtual X display
  $build/tools/zelmap-cli --help
      batch work without a display (info, dump, convert, render, xafs, demo)
MSG
    exit 1
fi

args=()
if [ "$demo" -eq 1 ]; then
    data="$PWD/demo-data"
    # The tool lists the files it wrote, one per line; its debug chatter is not wanted here.
    list=$(QT_LOGGING_RULES="*.debug=false" "$build/tools/zelmap-cli" demo "$data")
    # Reference spectra (.dat) are for the LCF window, not images to open.
    mapfile -t files < <(grep -v '\.dat$' <<<"$list")
    echo "Demo data in $data"
    args=(-d "$data" "${files[@]}")
fi
exec "$build/app/zelmap" "${args[@]}" "$@"
