#!/bin/sh
# Builds the program for 64-bit ARM and runs, in qemu's emulation of the processor, the tests of what
# has instructions of its own there or lies close to bytes and words; then converts the example, which
# this machine's own program (the release build has to be there) must find as good as its own.
set -eu
cd "$(dirname "$0")/.."

have() { command -v "$1" >/dev/null 2>&1; }
if ! tools/install_dependencies.sh arm64 || ! have aarch64-linux-gnu-g++ || ! have qemu-aarch64; then
  echo "test_arm64: the cross compiler or qemu-user is missing and could not be installed; the program for" >&2
  echo "64-bit ARM was not tested" >&2
  exit 1
fi

cmake --preset arm64-cross
cmake --build build/arm64-cross --target parvane platform_test mime_test
ctest --test-dir build/arm64-cross --output-on-failure --no-tests=error -j2 -R '^(platform|mime|program_plain_paths)$'

native=build/release/parvane
emulated=build/arm64-cross/runnable/parvane
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$native" convert --quiet examples/mail "$work/native.pst"
"$emulated" convert --quiet examples/mail "$work/emulated.pst"
"$native" check "$work/emulated.pst"
for program in native emulated; do
  "$native" list --messages "$work/$program.pst" | sed "s|$work/$program||" >"$work/$program.txt"
done
# What the emulated program reads is the same, too.
"$emulated" list --messages "$work/native.pst" | sed "s|$work/native||" >"$work/read.txt"
[ -s "$work/native.txt" ]
diff "$work/native.txt" "$work/emulated.txt"
diff "$work/native.txt" "$work/read.txt"
echo "64-bit ARM: the same $(wc -l <"$work/native.txt") lines listed"
