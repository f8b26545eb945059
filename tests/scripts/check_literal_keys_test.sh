#!/usr/bin/env bash
# scripts/check-literal-keys against made-up trees: what it must report, what it must let be.
# Usage: check_literal_keys_test.sh <path of check-literal-keys>
set -uo pipefail
check="${1:?usage: check_literal_keys_test.sh <check-literal-keys>}"
source "$(dirname "$0")/check_test_helpers.sh"

# A tree whose one header defines the keys and whose one source file holds `use`.
tree() {
  rm -rf "$work/src"
  mkdir -p "$work/src/a" "$work/src/b"
  cat >"$work/src/a/Keys.h" <<'H'
#pragma once
#include <QString>
inline const QString kPortDetailKey = QStringLiteral("PORT_DETAL"); // the port's path
inline const QString kItemPortKey = QStringLiteral("Use Port");
inline const QString kStatusKey = QStringLiteral("Status");
H
  printf '#include "a/Keys.h"\n%s\n' "$1" >"$work/src/b/Use.cpp"
}

# expect <exit code> <text the output must hold, or ""> <case> <source line>
expect() {
  local want="$1" holds="$2" name="$3" output code
  tree "$4"
  output="$("$check" "$work" 2>&1)"
  code=$?
  verdict "$name" "$want" "$holds" "$code" "$output"
}

# Left alone: constants, comments, a literal that says it is not a key, other texts.
expect 0 "3 record keys" "constants only" 'QString p = r.value(kPortDetailKey); // the "PORT_DETAL" column'
expect 0 "" "a title that says so" 'model->setColumnTitle(kStatusKey, QStringLiteral("Status")); // a title, not a record key'
expect 0 "" "longer texts holding a key" 'QString s = QStringLiteral("Status: %1, Use Port ") + QStringLiteral("PORT_DETAL2");'

# Reported, with file and line.
expect 1 'src/b/Use.cpp:2: "PORT_DETAL"' "a plain literal" 'QString p = r.value("PORT_DETAL");'
expect 1 'src/b/Use.cpp:2: "Use Port"' "a key with a space" 'table.setColumns({QStringLiteral("Use Port")});'
expect 1 '"Status"' "a // inside a string is not a comment" 'QString u = QStringLiteral("http://x") + r.value(QLatin1String("Status"));'
expect 1 '"Status"' "an escaped quote inside a string" 'QString s = QStringLiteral("\" // ") + QStringLiteral("Status");'
expect 1 '"Status"' "a quote as a character literal" "if (c == '\"') s = QStringLiteral(\"a//b\") + QStringLiteral(\"Status\");"
expect 1 '"PORT_DETAL"' "a second definition in a source file" 'inline const QString kPortDetailKey = QStringLiteral("PORT_DETAL");'

# A definition the check cannot read stops it rather than dropping its key.
tree 'int x = 0;'
printf 'inline const QString kLongKey =\n    QStringLiteral("Long");\n' >>"$work/src/a/Keys.h"
verdict "a definition split over lines" 2 "" "$("$check" "$work" >/dev/null 2>&1; echo $?)" ""

# No definitions at all: nothing is being checked, which is an error, not a pass.
rm -rf "$work/src" && mkdir -p "$work/src"
verdict "a tree without definitions" 2 "" "$("$check" "$work" >/dev/null 2>&1; echo $?)" ""

finish check-literal-keys
