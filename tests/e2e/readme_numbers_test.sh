#!/usr/bin/env bash
# Every recipient the README's examples give is accepted by a dry run with the country set to GB,
# as a reader who chose GB would run them: "--to" numbers, and the quoted forms of one subscriber.
# Usage: readme_numbers_test.sh <bulksms> <README.md>
set -uo pipefail
bulksms="${1:?bulksms executable}"
readme="${2:?README.md}"
home="$(mktemp -d)"
trap 'rm -rf "$home"' EXIT
export BULKSMS_DATA_HOME="$home" BULKSMS_RESOURCES="$home/resources"

mapfile -t numbers < <(grep -oE -- '--to \+?[0-9]+' "$readme" | cut -d' ' -f2 | sort -u)
mapfile -t written < <(grep -oE '"(\+44 ?|0044 ?|0)7[0-9 ]+"' "$readme" | tr -d '"' | sort -u)
[ ${#numbers[@]} -ge 3 ] || { echo "FAIL: found only ${#numbers[@]} --to numbers in $readme"; exit 1; }

args=()
for n in "${numbers[@]}" "${written[@]}"; do args+=(--to "$n"); done
out="$("$bulksms" send --dry-run --country GB "${args[@]}" --message "Hello" 2>&1)"
status=$?
if [ $status -ne 0 ] || grep -qE "invalid:|Not a valid phone number" <<<"$out"; then
  echo "FAIL: the README's numbers under --country GB (exit $status):"
  echo "$out"
  exit 1
fi
echo "readme numbers: ${#numbers[@]} --to numbers and ${#written[@]} written forms accepted in GB"
