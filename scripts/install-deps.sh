#!/usr/bin/env bash
# Installs every Debian package the build, the tests and the interop checks need.
# Idempotent: asks apt only for what is missing, and refreshes the package lists only then.
set -euo pipefail

packages=(
  # build
  cmake ninja-build g++ pkg-config
  # libraries
  libfmt-dev libutf8proc-dev libpugixml-dev libzip-dev zlib1g-dev libisal-dev libcli11-dev
  # the backend that drives a running LibreOffice Calc (UNO headers, cppumaker, libraries)
  libreoffice-dev libreoffice-dev-common
  # the update check's HTTP request
  libcurl4-openssl-dev
  # the shell's line editing, history and completion
  libreadline-dev
  # font files and their metrics, for the widths of table columns
  libfreetype-dev libfontconfig-dev fonts-dejavu-core
  # the fonts metric-compatible with the common workbook defaults (Calibri, Cambria, Arial,
  # Times New Roman, Courier New), whose widest digit sizes worksheet columns
  fonts-crosextra-carlito fonts-crosextra-caladea fonts-liberation2
  # the desktop program (Qt 6 widgets) and its window tests: offscreen and under a virtual X server
  qt6-base-dev xvfb xauth
  # tests and benchmarks
  libgtest-dev libgmock-dev libbenchmark-dev
  # the Debian package and its test (cpack's dependency list, dpkg -x)
  dpkg-dev
  # fuzzing (scripts/fuzz.sh builds with clang and libFuzzer)
  clang-14 libfuzzer-14-dev libclang-rt-14-dev
  # interop checks: independent readers of our drawings and workbooks
  python3 python3-ezdxf python3-openpyxl libreoffice-calc-nogui python3-uno
  # the peer pipeline the benchmarks compare with (bench/peer)
  python3-xlsxwriter time
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
echo "install-deps: installing ${missing[*]}" >&2
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
