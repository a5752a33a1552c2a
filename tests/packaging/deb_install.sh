#!/bin/bash
# Makes the .deb of the build in BUILD, unpacks it into SCRATCH/root with dpkg -x and runs the
# installed program: its version, its command list, its manual page and its bash completion.
# Usage: deb_install.sh BUILD SCRATCH
set -euo pipefail
build=$1
scratch=$2
rm -rf "$scratch"
mkdir -p "$scratch"

fail() { echo "packaging: $*" >&2; exit 1; }

cpack --config "$build/CPackConfig.cmake" -B "$scratch/package" >"$scratch/cpack.log" 2>&1 ||
    { cat "$scratch/cpack.log" >&2; fail "cpack failed"; }
deb=$(ls "$scratch"/package/velmar_*.deb 2>/dev/null | head -n 1)
[ -n "$deb" ] || fail "cpack made no velmar_*.deb in $scratch/package"

# Its dependencies are Debian's packages of the libraries the program links.
depends=$(dpkg-deb -f "$deb" Depends)
for package in libc6 libstdc++6 libcurl4 libfmt9 zlib1g; do
    grep -q "\b$package\b" <<<"$depends" || fail "Depends lacks $package: $depends"
done

dpkg -x "$deb" "$scratch/root"
velmar=$scratch/root/usr/bin/velmar
[ -x "$velmar" ] || fail "no usr/bin/velmar in the package"
[ -f "$scratch/root/usr/share/man/man1/velmar.1" ] || fail "no manual page in the package"
completion=$scratch/root/usr/share/bash-completion/completions/velmar
[ -f "$completion" ] || fail "no bash completion in the package"

# The Calc backend, where the build has one, lies in the library folder and the installed
# program loads it: a Calc that isn't running is then the answer, not a missing backend.
if [ -f "$build/src/cli/libvelmar-calc.so" ]; then
    module=$(find "$scratch/root/usr/lib" -path "*/velmar/libvelmar-calc.so" | head -n 1)
    [ -n "$module" ] || fail "no lib/.../velmar/libvelmar-calc.so in the package"
    cp "$(dirname "$0")/../data/import/doors-r2000.dxf" "$scratch/doors.dxf"
    said=$("$velmar" --settings "$scratch/s.ini" --spreadsheet calc \
        --calc-connect "socket,host=127.0.0.1,port=1" --drawing "$scratch/doors.dxf" \
        export --drawing-column on 2>&1 || true)
    grep -q "No LibreOffice accepts connections" <<<"$said" ||
        fail "the installed velmar didn't load its Calc backend: $said"
fi

version=$("$velmar" --version)
[ "$version" = "velmar 9.72" ] || fail "--version printed '$version'"

commands=$("$velmar" help)
for name in VelmarOut Velmar_Live_Update live-update Velmar_About; do
    grep -q -- "$name" <<<"$commands" || fail "'velmar help' doesn't list $name"
done
if grep -q "not available" <<<"$commands"; then
    echo "packaging: note: some commands are not in this build yet" >&2
fi

# The installed program finds its own manual page.
if command -v man >/dev/null; then
    manual=$(MANPAGER=cat MANWIDTH=80 "$velmar" help --manual)
    grep -q "live-update" <<<"$manual" || fail "'velmar help --manual' didn't show the manual page"
fi

# The completion offers command names and the chosen command's options.
complete_words() {
    PATH="$scratch/root/usr/bin:$PATH" bash -c '
        source "$1"; shift
        COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1))
        _velmar
        printf "%s\n" "${COMPREPLY[@]}"' _ "$completion" "$@"
}
complete_words velmar live-u | grep -qx live-update || fail "completion doesn't offer live-update"
complete_words velmar Velmar_Live | grep -qx Velmar_Live_Update || fail "completion doesn't offer Velmar_Live_Update"
complete_words velmar live-update --check | grep -qx -- --check-up || fail "completion doesn't offer --check-up"
complete_words velmar --drawing a.dxf export --pre | grep -qx -- --preview || fail "completion doesn't offer --preview"

echo "packaging: $(basename "$deb") installs and runs"
