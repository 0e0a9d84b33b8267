#!/usr/bin/env bash
# Installs the Debian packages that are missing. Groups: build (always), lint, fuzz.
set -euo pipefail

packages=(ca-certificates cmake g++ groff-base libbenchmark-dev libcli11-dev libcurl4-openssl-dev
          libengine-pkcs11-openssl libgmock-dev libgtest-dev libssl-dev ninja-build nlohmann-json3-dev opensc openssl
          python3 softhsm2 zsh)
for group in "$@"; do
  case "$group" in
    lint) packages+=(clang-format clang-tidy) ;;
    fuzz) packages+=(clang libclang-rt-14-dev) ;;
    *) echo "install_deps.sh: unknown group '$group' (lint, fuzz)" >&2; exit 2 ;;
  esac
done

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q '^install ok installed$' || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

if ! command -v apt-get >/dev/null; then
  echo "Missing: ${missing[*]}. This script installs with apt-get, which this system does not have." >&2
  exit 1
fi
if [ "$(id -u)" -ne 0 ]; then
  echo "Missing: ${missing[*]}. Run this as root, or install them yourself: apt-get install ${missing[*]}" >&2
  exit 1
fi
export DEBIAN_FRONTEND=noninteractive
apt-get update -q
apt-get install -y -q --no-install-recommends "${missing[@]}"
