#!/bin/sh
# Prints the folder that holds the sources of a Debian (or Ubuntu) package, fetched and unpacked
# where that has not happened yet; with the distribution's patches.
#
#   debian_source.sh PACKAGE
#
# Sources come from the mirrors that apt is configured with, checked against the same signatures;
# apt's own configuration and state stay as they are. They are kept for later builds under
# ${XDG_CACHE_HOME:-~/.cache}/parvane.
set -eu

package=$1
cache=${XDG_CACHE_HOME:-${HOME:-/tmp}/.cache}/parvane
target=$cache/$package

if [ ! -d "$target" ]; then
  mkdir -p "$cache"
  work=$(mktemp -d "$cache/fetching.XXXXXX")
  trap 'rm -rf "$work"' EXIT
  mkdir -p "$work/lists/partial" "$work/cache/archives/partial" "$work/unpacked"

  # The distribution's main section, as sources.
  apt-get indextargets --format '$(ORIGIN) $(REPO_URI) $(RELEASE) $(COMPONENT)' \
      'Created-By: Packages' | sort -u >"$work/targets"
  while read -r origin uri release component; do
    keys=/usr/share/keyrings/$(printf %s "$origin" | tr A-Z a-z)-archive-keyring.gpg
    case $origin:$component in
      Debian:main | Ubuntu:main | Ubuntu:universe)
        [ -f "$keys" ] && echo "deb-src [signed-by=$keys] $uri $release $component" ;;
    esac
  done <"$work/targets" >"$work/sources.list"

  apt() {
    apt-get -q -o Dir::Etc::SourceList="$work/sources.list" -o Dir::Etc::SourceParts=/dev/null \
      -o Dir::State::Lists="$work/lists" -o Dir::Cache="$work/cache" -o APT::Sandbox::User= \
      "$@" </dev/null >&2
  }
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
