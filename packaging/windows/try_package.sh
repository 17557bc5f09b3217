#!/bin/sh
# try_package.sh [BUILD]: makes the packages for Windows in the build folder (default: build/windows-cross) and tries
# them under Wine: unpacks the zip and converts with its program; installs, converts with the installed program,
# removes, and looks for what was left behind.
set -eu
cd "$(dirname "$0")/../.."
build=${1:-$PWD/build/windows-cross}
cmake --build "$build" --target windows-package
work=$(mktemp -d)
wine() { tools/wine.sh "$work/wine" "$@"; }
trap 'wine --stop || true; rm -rf "$work"' EXIT
trap 'exit 130' INT TERM
wine --start
say() { echo "try_package: $*"; }
fail() { say "$*" >&2; exit 1; }
version=$(sed -n 's/^project(parvane VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
name=parvane-$version-windows-x86_64

# The program in the folder $1 does its work.
converts() {
  rm -f "$work/mail.pst"
  wine "$1/parvane.exe" convert "Z:$PWD/examples/mail/Inbox.mbox" "Z:$work/mail.pst" | grep '6 messages read, 6 written'
  wine "$1/parvane.exe" check "Z:$work/mail.pst"
}

(cd "$work" && cmake -E tar xf "$build/$name.zip")
for file in parvane.exe parvanemapi.dll README.txt MANUAL.txt WINDOWS.txt LICENSE.txt NOTICES.txt; do
  [ -s "$work/$name/$file" ] || fail "$file is not in the zip"
done
converts "$work/$name"
say "the zip's program works"

home=$work/wine/drive_c/users/$(id -un)
installed=$home/AppData/Local/Programs/Parvane
link="$home/AppData/Roaming/Microsoft/Windows/Start Menu/Programs/Parvane.lnk"
key='HKCU\Software\Microsoft\Windows\CurrentVersion\Uninstall\Parvane'
wine "$build/$name-setup.exe" /S
[ -s "$link" ] || fail "no entry in the Start menu"
grep -qa 'parvane.exe' "$link" || fail "the Start menu's entry starts something else"
wine reg query "$key" /v DisplayVersion | grep -q "$version" || fail "Windows does not know how to remove it"
converts "$installed"
echo mine >"$installed/notes.txt"
wine "$build/$name-setup.exe" /S  # over itself
converts "$installed"
say "installed, twice, and works"

wine "$installed/uninstall.exe" /S
tries=0
while [ -e "$installed/uninstall.exe" ] && [ $tries -lt 60 ]; do sleep 0.5; tries=$((tries + 1)); done
[ ! -e "$link" ] || fail "the Start menu's entry is still there"
[ "$(ls "$installed")" = notes.txt ] || fail "left behind: $(ls "$installed")"
! wine reg query "$key" >/dev/null 2>&1 || fail "Windows still lists it"
say "removed; what was put beside it is still there"
