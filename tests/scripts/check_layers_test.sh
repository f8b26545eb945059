#!/usr/bin/env bash
# scripts/check-layers against a made-up tree of two layers, built for real: an include from the
# lower layer into the upper one is reported (also when it would compile), the other way is not.
# Usage: check_layers_test.sh <path of check-layers>
set -uo pipefail
check="${1:?usage: check_layers_test.sh <check-layers>}"
source "$(dirname "$0")/check_test_helpers.sh"

mkdir -p "$work/src/low" "$work/src/high"
cat >"$work/CMakeLists.txt" <<'C'
cmake_minimum_required(VERSION 3.16)
project(layers CXX)
include_directories(src)
add_subdirectory(src/low)
add_subdirectory(src/high)
C
echo 'add_library(bulksms_low STATIC Low.cpp)' >"$work/src/low/CMakeLists.txt"
printf 'add_library(bulksms_high STATIC\n  High.cpp)\ntarget_link_libraries(bulksms_high\n  PUBLIC bulksms_low)\n' \
  >"$work/src/high/CMakeLists.txt"
echo 'inline int high() { return 2; }' >"$work/src/high/High.h"
printf '#include "high/High.h"\n#include "low/Low.h"\nint highest() { return high() + low(); }\n' >"$work/src/high/High.cpp"
echo 'inline int low() { return 1; }' >"$work/src/low/Low.h"

# expect <exit code> <text the output must hold, or ""> <case>
expect() {
  local want="$1" holds="$2" name="$3" output code
  cmake -S "$work" -B "$work/build" -G Ninja >/dev/null && cmake --build "$work/build" >/dev/null ||
    { echo "FAIL: $name: the tree does not build"; failures=$((failures + 1)); return; }
  output="$("$check" "$work/build" "$work" 2>&1)"
  code=$?
  verdict "$name" "$want" "$holds" "$code" "$output"
}

printf '#include "low/Low.h"\nint lowest() { return low(); }\n' >"$work/src/low/Low.cpp"
expect 0 "" "an upper layer using a lower one"
printf '#include "high/High.h"\nint lowest() { return high(); }\n' >"$work/src/low/Low.cpp"
expect 1 "src/low/Low.cpp (bulksms_low) includes src/high/High.h (bulksms_high)" "a lower layer reaching up"

finish check-layers
