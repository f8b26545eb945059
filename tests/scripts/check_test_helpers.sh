# Sourced by the tests of the project's check scripts: a work folder removed at exit, the verdict
# on one run of the check, and the closing line.
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
failures=0

# verdict <case> <exit code wanted> <text the output must hold, or ""> <exit code> <output>
verdict() {
  if [ "$4" -ne "$2" ] || { [ -n "$3" ] && ! grep -qF -- "$3" <<<"$5"; }; then
    echo "FAIL: $1: exit $4 (want $2), output:"$'\n'"$5"
    failures=$((failures + 1))
  fi
}

# finish <check's name>: says whether every case went as expected, and exits accordingly.
finish() {
  [ "$failures" -eq 0 ] && echo "$1: every case as expected"
  exit $((failures > 0))
}
