#!/usr/bin/env bash
# scripts/check-event-pumping against made-up trees: what it must report, what it must let be.
# Usage: check_event_pumping_test.sh <path of check-event-pumping>
set -uo pipefail
check="${1:?usage: check_event_pumping_test.sh <check-event-pumping>}"
source "$(dirname "$0")/check_test_helpers.sh"

# expect <exit code> <text the output must hold, or ""> <file under src/> <its line>
expect() {
  local want="$1" holds="$2" file="$3" output code
  rm -rf "$work/src" && mkdir -p "$work/src/$(dirname "$file")"
  printf '%s\n' "$4" >"$work/src/$file"
  output="$("$check" "$work" 2>&1)"
  code=$?
  verdict "$file" "$want" "$holds" "$code" "$output"
}

expect 0 "" core/Wait.cpp 'MainThread::waitUntil([&] { return done; });'
expect 0 "" ui/Dialog.cpp 'QCoreApplication::processEvents();'
expect 0 "" app/Main.cpp 'QEventLoop loop;'
expect 1 "src/core/Wait.cpp:1:" core/Wait.cpp 'QCoreApplication::processEvents(QEventLoop::AllEvents, 10);'
expect 1 "src/sending/Flow.h:1:" sending/Flow.h '#include <QEventLoop>'
expect 1 "src/gsm/ui/View.cpp:1:" gsm/ui/View.cpp 'QEventLoop loop;' # only the top src/ui is the views

rm -rf "$work/src"
verdict "a tree without src/" 2 "" "$("$check" "$work" >/dev/null 2>&1; echo $?)" ""

finish check-event-pumping
