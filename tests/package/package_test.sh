#!/usr/bin/env bash
# The package a person installs is the product that was tested: build it from this build tree,
# unpack it into an empty root and run the programs from there, with no build tree in reach
# (no resource override, a bare environment, another working folder).
# Usage: package_test.sh <build-dir> <workbook.xlsx>
set -euo pipefail
build_dir="$(realpath "$1")"
workbook="$(realpath "$2")"
for tool in dpkg-deb cpack desktop-file-validate appstreamcli; do
  if ! command -v "$tool" >/dev/null; then
    echo "SKIPPED: $tool is missing (scripts/install-deps installs it)"
    exit 77
  fi
done

work="$(mktemp -d)"
modem_pid=""
cleanup() {
  [ -n "$modem_pid" ] && kill "$modem_pid" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT
fail() { echo "FAILED: $*" >&2; exit 1; }

(cd "$build_dir" && cpack -G DEB -B "$work/out" >/dev/null) || fail "cpack could not build the package"
deb="$(ls "$work"/out/ostrel-bulk-sms_*.deb)"
dpkg-deb -x "$deb" "$work/root"
root="$work/root"

# What the package declares and ships.
depends="$(dpkg-deb -f "$deb" Depends)"
for needed in adb libqt6core6 libcpp-httplib; do
  [[ "$depends" == *"$needed"* ]] || fail "Depends lacks $needed: $depends"
done
for file in usr/bin/bulksms usr/bin/bulksms-modem-sim usr/share/ostrel-bulk-sms/Template.xlsx \
            usr/share/applications/ostrel-bulk-sms.desktop usr/share/metainfo/com.ostrel.BulkSMS.metainfo.xml \
            usr/share/icons/hicolor/scalable/apps/ostrel-bulk-sms.svg \
            usr/share/icons/hicolor/48x48/apps/ostrel-bulk-sms.png usr/share/man/man1/bulksms.1.gz; do
  [ -e "$root/$file" ] || fail "the package lacks /$file"
done
desktop-file-validate "$root/usr/share/applications/ostrel-bulk-sms.desktop" || fail "desktop entry invalid"
appstreamcli validate --no-net "$root/usr/share/metainfo/com.ostrel.BulkSMS.metainfo.xml" >/dev/null ||
  fail "metainfo invalid"
# Read whole first: grep -q leaving early would cut zcat off, and pipefail count that a failure.
manual="$(zcat "$root/usr/share/man/man1/bulksms.1.gz")"
grep -q '^\.SH "COMMAND: SEND"' <<<"$manual" || fail "manual page lacks send"

# The worker's systemd user service: the packaged program, restarted when it fails, stopped by
# an interrupt (it finishes what its devices hold), and left for the user to enable: no unit of
# the package is linked into a target, no maintainer script runs systemctl.
unit="$root/usr/lib/systemd/user/bulksms-worker.service"
[ -f "$unit" ] || fail "the package lacks /usr/lib/systemd/user/bulksms-worker.service"
for line in 'ExecStart=/usr/bin/bulksms worker' 'Restart=on-failure' 'KillSignal=SIGINT' \
            'WantedBy=default.target'; do
  grep -qxF "$line" "$unit" || fail "the worker's unit lacks \"$line\""
done
[ -z "$(find "$root" -path '*.wants*' -o -path '*.requires*')" ] || fail "the package enables a unit"
dpkg-deb -e "$deb" "$work/control"
if grep -qs systemctl "$work"/control/*; then fail "a maintainer script runs systemctl"; fi
# systemd's own reading of it, where systemd is installed: the unit as it would start the
# unpacked program (verify wants the program there), in a user manager of its own.
# The API's unit likewise: the packaged program's serve.
api_unit="$root/usr/lib/systemd/user/bulksms-api.service"
[ -f "$api_unit" ] || fail "the package lacks /usr/lib/systemd/user/bulksms-api.service"
for line in 'ExecStart=/usr/bin/bulksms serve' 'Restart=on-failure' 'KillSignal=SIGINT' 'WantedBy=default.target'; do
  grep -qxF "$line" "$api_unit" || fail "the API's unit lacks \"$line\""
done
if command -v systemd-analyze >/dev/null; then
  mkdir -p "$work/units" "$work/runtime"
  chmod 700 "$work/runtime"
  for u in "$unit" "$api_unit"; do
    sed "s#^ExecStart=/usr/bin/#ExecStart=$root/usr/bin/#" "$u" > "$work/units/$(basename "$u")"
    XDG_RUNTIME_DIR="$work/runtime" systemd-analyze verify --user --man=no \
      "$work/units/$(basename "$u")" || fail "systemd-analyze verify rejects $(basename "$u")"
  done
fi

# The unpacked programs, on their own.
run() { (cd "$work" && env -i PATH=/usr/bin:/bin HOME="$work/home" BULKSMS_DATA_HOME="$work/data" \
          QT_QPA_PLATFORM=offscreen "$@"); }
mkdir -p "$work/home" "$work/data"
version="$(run "$root/usr/bin/bulksms" --version)"
[[ "$version" =~ ^bulksms\ [0-9]+\.[0-9]+\.[0-9]+$ ]] || fail "--version printed \"$version\""

listed="$(run "$root/usr/bin/bulksms" send --dry-run --numbers "$workbook" --header --number-column Phone \
           --template "Dear <COL-1>")" ||
  fail "send --dry-run on a workbook failed"
[[ "$listed" == *"07700900002"*"Dear Bo"* ]] || fail "send --dry-run listed: $listed"

# The workbook export needs the packaged Template.xlsx: found beside the program, not in the build tree.
run "$root/usr/bin/bulksms" templates --export "$work/templates.xlsx" >/dev/null ||
  fail "templates --export failed"
[ -s "$work/templates.xlsx" ] || fail "no workbook written"

(cd "$work" && exec env -i PATH=/usr/bin:/bin BULKSMS_CLOCK_SCALE=0.1 "$root/usr/bin/bulksms-modem-sim" \
   --model PKG-1 --imei 358000000000777 > "$work/modem") &
modem_pid=$!
for _ in $(seq 100); do
  [ -s "$work/modem" ] && break
  sleep 0.1
done
modem="$(head -n 1 "$work/modem")"
[ -n "$modem" ] || fail "the packaged virtual modem did not start"
devices="$(run env BULKSMS_EXTRA_MODEMS="$modem" BULKSMS_CLOCK_SCALE=0.1 "$root/usr/bin/bulksms" devices)" ||
  fail "devices failed"
[[ "$devices" == *358000000000777* ]] || fail "devices did not find the virtual modem: $devices"

# The packaged API answers a real client with a token of its own.
token="$(run "$root/usr/bin/bulksms" token create pkg 2>/dev/null)" || fail "token create failed"
(cd "$work" && exec env -i PATH=/usr/bin:/bin HOME="$work/home" BULKSMS_DATA_HOME="$work/data" \
   "$root/usr/bin/bulksms" serve --listen 127.0.0.1:0 2> "$work/serve.log") &
serve_pid=$!
for _ in $(seq 100); do
  grep -q 'Listening on' "$work/serve.log" && break
  sleep 0.1
done
address="$(sed -n 's/^Listening on //p' "$work/serve.log")"
[ -n "$address" ] || fail "serve did not listen: $(cat "$work/serve.log")"
listed="$(curl -s --max-time 10 -H "Authorization: Bearer $token" "$address/v1/campaigns")"
kill -INT "$serve_pid"
wait "$serve_pid" || fail "serve did not stop cleanly on an interrupt"
[[ "$listed" == '{"campaigns":[],"next":null}' ]] || fail "the API listed: $listed"
echo "package $(basename "$deb") installs and runs"
