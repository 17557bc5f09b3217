#!/bin/sh
# Runs a Windows program under Wine, quietly, with a prefix (a C: drive and a registry) of its own.
#
#   wine.sh PREFIX PROGRAM ARGUMENT...
#
# PREFIX is made on first use, which takes half a minute. Wine's server lives on for a minute after
# the last program, which makes the next one start in a fraction of a second.
set -eu

WINEPREFIX=$1
shift
WINEDEBUG=-all
# No desktop menus, no .NET, no browser: nothing here needs them, and their installers ask.
WINEDLLOVERRIDES='winemenubuilder.exe=;mscoree=;mshtml='
# File names are UTF-8 whatever the caller's locale.
LC_ALL=C.UTF-8
export WINEPREFIX WINEDEBUG WINEDLLOVERRIDES LC_ALL
unset DISPLAY WAYLAND_DISPLAY

# Wine's own processes live as long as the server and keep the files open that the first program was
# started with: a test would wait for the end of its output for ever. So they start here, apart.
mkdir -p "$WINEPREFIX"
(
  flock 9
  # Says no when a server is there already.
  if wineserver -p60 9>&-; then
    if [ ! -e "$WINEPREFIX/ready" ]; then
      wine wineboot --init 9>&-
      touch "$WINEPREFIX/ready"
    fi
    wine cmd /c exit 9>&-
  fi
) 9>"$WINEPREFIX/lock" </dev/null >/dev/null 2>&1
exec wine "$@"
