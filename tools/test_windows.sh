#!/bin/sh
# Builds the Windows program and its tests, and runs them under Wine. The release build of this
# machine's own program has to be there: it judges the files that the other one writes.
#
# Fails where the compiler or Wine cannot be had; `make test WINDOWS=no` leaves this half out.
set -eu
cd "$(dirname "$0")/.."

have() { command -v "$1" >/dev/null 2>&1; }
if ! tools/install_dependencies.sh windows || ! have wine || ! have wineserver ||
    ! { have x86_64-w64-mingw32-g++-posix || have x86_64-w64-mingw32-g++; }; then
  echo "test_windows: MinGW-w64 or Wine is missing and could not be installed; the Windows program was" >&2
  echo "not tested, everything else has passed (make test WINDOWS=no leaves it out)" >&2
  exit 1
fi

cmake --preset windows-cross
cmake --build build/windows-cross
# The tests end it themselves, unless they are cut short.
trap 'tools/wine.sh "$PWD/build/windows-cross/wine" --stop' EXIT
trap 'exit 130' INT TERM
ctest --test-dir build/windows-cross --output-on-failure -j2
