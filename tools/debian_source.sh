#!/bin/sh
# Prints the folder that holds the sources of a Debian (or Ubuntu) package, fetched and unpacked
# where that has not happened yet; with the distribution's patches.
#
#   debian_source.sh PACKAGE
#
# Sources come as tools/apt_aside.sh says, and are kept for later builds under
# ${XDG_CACHE_HOME:-~/.cache}/parvane.
set -eu

package=$1
cache=${XDG_CACHE_HOME:-${HOME:-/tmp}/.cache}/parvane
target=$cache/$package

if [ ! -d "$target" ]; then
  mkdir -p "$cache"
  kind=deb-src option=
  . "$(dirname "$0")/apt_aside.sh"
  mkdir "$work/unpacked"
  cd "$work"
  apt update
  apt source --download-only "$package"
  for archive in *.orig.tar.*; do
    case $archive in *.asc) continue ;; esac
    tar -C unpacked --strip-components=1 -xf "$archive"
  done
  # With what the distribution mends in them: its fixes for security come this way.
  for archive in *.debian.tar.*; do
    [ -f "$archive" ] || continue
    tar -C unpacked -xf "$archive"
    [ -f unpacked/debian/patches/series ] || continue
    sed 's/#.*//' unpacked/debian/patches/series | while read -r name _; do
      [ -z "$name" ] || patch -s -d unpacked -p1 <"unpacked/debian/patches/$name"
    done
  done
  # Another build may have been faster.
  mv -T "$work/unpacked" "$target" 2>/dev/null || [ -d "$target" ]
fi
echo "$target"
