#!/usr/bin/env bash
# A release made by scripts/release is found, downloaded, verified, staged and installed over
# an older copy by that copy's own fennic-cli, against a loopback HTTP server.
#   release_end_to_end.sh REPOSITORY FENNIC_CLI
set -euo pipefail
repo=$1
cli=$2

work=$(mktemp -d)
server=
cleanup() {
    if [ -n "$server" ]; then kill "$server" 2>/dev/null || true; fi
    rm -rf "$work"
}
trap cleanup EXIT
# Never the real home: the updater's cache and settings go here.
export HOME=$work/home XDG_CACHE_HOME=$work/cache XDG_CONFIG_HOME=$work/config XDG_DATA_HOME=$work/data
mkdir -p "$HOME" "$work/out"
fail() { echo "end-to-end: $*" >&2; exit 1; }

# What `cmake --install` would lay out, small: the tool itself and a data file.
prefix=$work/prefix
mkdir -p "$prefix/bin" "$prefix/share/fennic"
cp "$cli" "$prefix/bin/fennic-cli"
printf '#!/bin/sh\nexit 0\n' >"$prefix/bin/fennic"
chmod +x "$prefix/bin/fennic"
echo "release 1.1" >"$prefix/share/fennic/release.txt"
openssl genpkey -algorithm ed25519 -out "$work/key.pem" 2>/dev/null

python3 -u -m http.server --bind 127.0.0.1 --directory "$work/out" 0 >"$work/server.log" 2>&1 &
server=$!
port=
for _ in $(seq 100); do
    port=$(sed -n 's/.* port \([0-9]*\) .*/\1/p' "$work/server.log" | head -n 1)
    [ -n "$port" ] && break
    sleep 0.1
done
[ -n "$port" ] || fail "the loopback server did not start: $(cat "$work/server.log")"
base=http://127.0.0.1:$port

"$repo/scripts/release" --key "$work/key.pem" --base-url "$base" --version 1.1 --notes "Newer." \
    --prefix "$prefix" --out "$work/out" >/dev/null

# The older copy: the same application, version 1.0.
installed=$work/opt/Fennic
mkdir -p "$installed"
cp -a "$prefix/." "$installed/"
echo "release 1.0" >"$installed/share/fennic/release.txt"
(cd "$work" && unzip -q -o "$work/out/Fennic-1.1.zip" Fennic/Info.json -d unpacked)
jq '.CFBundleShortVersionString = "1.0"' "$work/unpacked/Fennic/Info.json" >"$installed/Info.json"

check=$("$installed/bin/fennic-cli" update check)
echo "$check" | grep -qx 'available 1.1' || fail "check did not offer 1.1: $check"

install=$("$installed/bin/fennic-cli" update install) || fail "install failed: $install"
echo "$install" | grep -q '^ready 1.1: ' || fail "install did not stage 1.1: $install"

# The script runs once fennic-cli has ended; it gives up waiting after a minute.
for _ in $(seq 600); do
    [ "$(jq -r .CFBundleShortVersionString "$installed/Info.json" 2>/dev/null)" = 1.1 ] && break
    sleep 0.1
done
for _ in $(seq 100); do
    [ -d "$XDG_CACHE_HOME/Fennic/SabloUpdate" ] || break
    sleep 0.1
done
[ "$(jq -r .CFBundleShortVersionString "$installed/Info.json")" = 1.1 ] || fail "1.1 was not installed"
grep -qx 'release 1.1' "$installed/share/fennic/release.txt" || fail "the installed files are not the release's"
[ ! -e "$installed.sablo-old" ] || fail "the old copy was left behind"
[ ! -e "$XDG_CACHE_HOME/Fennic/SabloUpdate" ] || fail "the staging folder was left behind"

again=$("$installed/bin/fennic-cli" update check)
echo "$again" | grep -qx 'up to date (1.1)' || fail "the new copy does not know it is current: $again"

# A damaged archive on the server is refused and installs nothing.
printf 'x' >>"$work/out/Fennic-1.1.zip"
jq '.CFBundleShortVersionString = "1.0"' "$installed/Info.json" >"$work/Info.json" && mv "$work/Info.json" "$installed/Info.json"
if damaged=$("$installed/bin/fennic-cli" update download 2>&1); then fail "a damaged archive was accepted: $damaged"; fi
echo "$damaged" | grep -q 'The download was larger than expected.' || fail "unexpected failure: $damaged"
echo "end-to-end: 1.0 updated itself to 1.1 through fennic-cli update"
