#!/usr/bin/env bash
# Installs the Debian packages the build, tests and tools need (WebKitGTK and Xvfb for the
# offerwall's web view and its tests, fonts for the sample pages' Korean and emoji; node and tsc
# for the bridge kit's mock-host tests and its type check; clang 14 for the libc++ and fuzz
# builds, LLVM 19 for the iOS cross-build; ccache so unchanged sources are not compiled again;
# clang-format 19, black and shellcheck for the style check; pytest for the iOS tooling's tests).
# Safe to run again: packages already present are left alone and nothing is downloaded when all
# are there.
set -euo pipefail

packages=(
  cmake ninja-build ccache g++ clang-14 lld-14 llvm-14 pkg-config git python3
  clang-format-19 black shellcheck python3-pytest
  libc++-14-dev libc++abi-14-dev libclang-rt-14-dev
  clang-19 lld-19 llvm-19
  zlib1g-dev nlohmann-json3-dev libglib2.0-dev libcurl4-openssl-dev ca-certificates libcpp-httplib-dev
  libgtest-dev libgmock-dev libbenchmark-dev libpcre2-dev
  libwebkit2gtk-4.1-dev xvfb xauth fonts-nanum fonts-noto-color-emoji locales
  nodejs node-typescript
)

# A locale with a decimal comma, for the tests that check number texts do not follow the locale.
ensure_comma_locale() {
  locale -a 2>/dev/null | grep -qi '^de_DE\.utf-\?8$' && return 0
  local sudo=""
  if [[ $(id -u) -ne 0 ]]; then sudo="sudo"; fi
  $sudo localedef -i de_DE -f UTF-8 de_DE.UTF-8 || echo "Could not generate de_DE.UTF-8; its test will be skipped."
}

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done
if ((${#missing[@]} == 0)); then
  echo "All build dependencies are installed."
  ensure_comma_locale
  exit 0
fi

sudo=""
if [[ $(id -u) -ne 0 ]]; then sudo="sudo"; fi
echo "Installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
ensure_comma_locale
