#!/usr/bin/env bash
# Shows the whole road on this machine: builds fwvet with a development root and its flash file in the build tree, makes
# packages with fwpack and has them checked. Every exit status is compared with what it must be.
set -euo pipefail
cd "$(dirname "$0")/.."

payload_mib=64
build=build/demo
fwvet=$build/bin/fwvet
fwpack=$build/bin/fwpack
pki=$build/devpki
work=$build/demo-files

say() { printf '\n== %s\n' "$*"; }

fail() {
  printf '\ndemo.sh: FAILED: %s\n' "$*" >&2
  exit 1
}

# expect STATUS WHAT fwvet-arguments...: runs fwvet, shows what it prints, and fails when the exit status is another.
expect() {
  local wanted=$1 what=$2 status=0
  shift 2
  printf '$ fwvet %s\n' "$*"
  "$fwvet" "$@" | tr -d '\r' | sed -n '/./s/^/    /p' || status=${PIPESTATUS[0]}
  [ "$status" -eq "$wanted" ] || fail "$what: exit status $status where $wanted was expected"
  printf -- '-> exit status %s: %s\n' "$status" "$what"
}

# sign PACKAGE SIGNER BUNDLE TIME [--force]: makes a package of the payload; by force one that devices refuse.
sign() {
  "$fwpack" sign --content "$work/payload" --out "$work/$1" --signer-cert "$pki/$2.pem" --signer-key "$pki/$2.key" \
    --ca "$pki/issuing-ca.pem" --ca "$pki/tsa-ca.pem" --tsa-cert "$pki/tsa.pem" --tsa-key "$pki/tsa.key" \
    --crl "$3" --timestamp-time "$4" --root "$pki/root.pem" "${@:5}"
}

say "Installing what is missing, building fwvet and fwpack (preset demo)"
scripts/install_deps.sh
cmake --preset demo
cmake --build --preset demo --target fwvet fwpack --parallel "$(nproc)"
rm -rf "$work" "$build/flashsimulate"
mkdir -p "$work"

say "Making a payload: sources, a program and $payload_mib MiB of pseudo-random data"
tar -cf "$work/payload" app pieces platform verify tools "$fwvet"
openssl enc -aes-128-ctr -nosalt -K 00112233445566778899aabbccddeeff -iv 00000000000000000000000000000000 \
  -in /dev/zero 2>/dev/null | head -c $((payload_mib * 1024 * 1024)) >>"$work/payload" || [ "${PIPESTATUS[1]}" -eq 0 ]
size=$(stat -c %s "$work/payload")
[ "$size" -ge $((payload_mib * 1024 * 1024)) ] || fail "the payload has only $size bytes"
printf 'The payload has %s bytes.\n' "$size"

say "1. A genuine package, signed and time-stamped by \"signer\", is accepted"
sign old.pkg signer "$pki/bundle.pem" 2026-03-01T12:00:00Z
expect 0 "accepted" -v -f "$work/old.pkg"

say "2. The same package with one byte changed in the middle of its content is rejected"
cp "$work/old.pkg" "$work/changed.pkg"
at=$((size / 2))
old=$(od -An -tu1 -j "$at" -N 1 "$work/changed.pkg")
# shellcheck disable=SC2059
printf "$(printf '\\%03o' $((old ^ 1)))" | dd of="$work/changed.pkg" bs=1 seek="$at" conv=notrunc status=none
expect 255 "rejected" -v -f "$work/changed.pkg"

say "3. A package whose own CRL revokes its signer is rejected"
"$fwpack" crl --pki "$pki" --revoke signer:keyCompromise:2026-02-01T00:00:00Z --this-update 2026-06-01T00:00:00Z \
  --next-update 2049-01-01T00:00:00Z --out "$work/revoking.pem"
sign revoked.pkg signer "$work/revoking.pem" 2026-06-02T12:00:00Z --force
expect 255 "rejected" -v -f "$work/revoked.pkg"

say "4. The device learns of a revocation: a newer package, signed by \"signer2\", carries the CRL that revokes \"signer\""
printf 'Before that, the old package passes:\n'
expect 0 "accepted" -f "$work/old.pkg"
sign new.pkg signer2 "$work/revoking.pem" 2026-06-02T12:00:00Z
printf 'The new package passes, and the device keeps its CRL:\n'
expect 0 "accepted, CRL kept" -f "$work/new.pkg" -backup
printf 'From now on the old package is rejected, although its own CRL is good:\n'
expect 255 "rejected as revoked" -f "$work/old.pkg" | tee "$work/last"
grep -q 'Error: The certificate of system-software has been revoked!' "$work/last" || fail "no revocation line"

say "All went as it must: genuine software passes, changed or revoked software does not."
