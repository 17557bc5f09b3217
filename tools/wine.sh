#!/bin/sh
# Runs Windows programs under Wine, quietly, in a prefix (a C: drive and a registry) of their own.
#
#   wine.sh PREFIX --start               makes the prefix, and a server that lives until --stop
#   wine.sh PREFIX --stop                ends the server and whatever still runs in the prefix
#   wine.sh PREFIX PROGRAM ARGUMENT...   runs a program
#
# A program's start takes a tenth of a second where the server lives, and some seconds where it does
# not. A run of tests lies between --start and --stop: left to itself, the server ends with the last
# program, and may take one that is just starting with it.
set -eu

WINEPREFIX=$1
shift
WINEDEBUG=-all
# No desktop menus, no .NET, no browser: nothing here needs them, and their installers ask.
WINEDLLOVERRIDES='winemenubuilder.exe=;mscoree=;mshtml='
# File names are UTF-8 whatever the caller's locale.
LC_ALL=C.UTF-8
export WINEPREFIX WINEDEBUG WINEDLLOVERRIDES LC_ALL
unset DISPLAY WAYLAND_DISPLAY WINEARCH WINESERVER

# Wine needs the page at 0x7ffe0000. Once in some thousand starts Linux would lay the heap of Debian's
# Wine there by chance, and the program would end at once without a word. So chance is switched off;
# where that is not allowed (as in some containers), malloc does without the heap, and a start takes
# three times as long.
wine=wine
if setarch "$(uname -m)" -R true 2>/dev/null; then
  wine="setarch $(uname -m) -R wine"
else
  export MALLOC_MMAP_THRESHOLD_=0
fi

# Starts the server, to live until it is told to end or has been idle for $1 seconds, and Wine's own
# processes; fails where it runs already. They would hold the caller's output open, and the caller
# wait for its end for ever, so they get none of it.
start_server() {
  wineserver -p"$1" &&
    { [ -e "$WINEPREFIX/ready" ] || $wine wineboot --init && touch "$WINEPREFIX/ready"; } &&
    $wine cmd /c exit
}

stop_server() {
  wineserver -k 2>/dev/null || true
  # -k asks; the next server needs this one gone.
  wineserver -w 2>/dev/null
}

case $1 in
  --start)
    mkdir -p "$WINEPREFIX"
    stop_server
    # One that was cut short while it was being made is made anew.
    [ -e "$WINEPREFIX/ready" ] || rm -rf "$WINEPREFIX"/*
    if ! start_server '' </dev/null >"$WINEPREFIX/start.log" 2>&1; then
      cat "$WINEPREFIX/start.log" >&2
      exit 1
    fi
    ;;
  --stop)
    stop_server
    ;;
  *)
    # Without --start, for a program run by hand.
    mkdir -p "$WINEPREFIX"
    (
      flock 9
      start_server 60 9>&- || true
    ) 9>"$WINEPREFIX/lock" </dev/null >/dev/null 2>&1
    exec $wine "$@"
    ;;
esac
