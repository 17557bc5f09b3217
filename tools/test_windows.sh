#!/bin/sh
# Builds the Windows program and its tests, and runs them under Wine. The release build of this
# machine's own program has to be there: it judges the files that the other one writes.
#
# Where the compiler or Wine cannot be had, says so and succeeds, except in CI, which must have them.
set -eu
cd "$(dirname "$0")/.."

have() { command -v "$1" >/dev/null 2>&1; }
if ! tools/install_dependencies.sh windows || ! have wine || ! have wineserver ||
    ! { have x86_64-w64-mingw32-g++-posix || have x86_64-w64-mingw32-g++; }; then
  cat >&2 <<'END'

######################################################################################
##  NOT TESTED: the Windows program. MinGW-w64 or Wine is missing and could not be  ##
##  installed. Everything else has passed.                                          ##
######################################################################################

END
  [ "${CI:-}" != true ]
  exit
fi

cmake --preset windows-cross
cmake --build build/windows-cross
# The tests end it themselves, unless they are cut short.
trap 'tools/wine.sh "$PWD/build/windows-cross/wine" --stop' EXIT
trap 'exit 130' INT TERM
ctest --test-dir build/windows-cross --output-on-failure -j2
