#!/usr/bin/env bash
# Size of the test suite against the code it tests: non-blank lines of C++ in tests/ over
# those in every other tracked folder except bench/.
set -euo pipefail
cd "$(dirname "$0")/.."
count() { if [ $# -gt 0 ]; then grep -hv '^[[:space:]]*$' "$@" | wc -l; else echo 0; fi; }
mapfile -t tests < <(git ls-files 'tests/*.cpp' 'tests/*.h')
mapfile -t code < <(git ls-files '*.cpp' '*.h' | grep -v '^tests/\|^bench/')
t=$(count "${tests[@]}")
c=$(count "${code[@]}")
awk -v t="$t" -v c="$c" 'BEGIN { printf "tests %d / code %d = %.2f\n", t, c, t / c }'
