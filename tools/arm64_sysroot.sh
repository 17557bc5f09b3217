#!/bin/sh
# Prints a folder that holds what a program for 64-bit ARM is built and run with beside the compiler:
# Debian's own packages of the libraries, unpacked there and not installed. This machine's packages stay
# as they are.
#
# They come as tools/apt_aside.sh says (mirrors that have the architecture: Debian's all have) and are
# kept for later builds under ${XDG_CACHE_HOME:-~/.cache}/parvane; another list of packages makes another
# folder.
set -eu

packages="libicu-dev libfmt-dev libcli11-dev libpugixml-dev nlohmann-json3-dev libarchive-dev nettle-dev libgtest-dev
libgmock-dev"
cache=${XDG_CACHE_HOME:-${HOME:-/tmp}/.cache}/parvane
target=$cache/arm64-$(. /etc/os-release && echo "$ID$VERSION_ID")-$(echo $packages | cksum | cut -d' ' -f1)

if [ ! -d "$target" ]; then
  mkdir -p "$cache"
  kind=deb option=arch=arm64
  . "$(dirname "$0")/apt_aside.sh"
  # As on a machine of that architecture with nothing on it, so that all they need comes along.
  : >"$work/status"
  arm64() {
    apt -o APT::Architecture=arm64 -o APT::Architectures=arm64 -o Dir::State::Status="$work/status" \
      -o APT::Install-Recommends=false "$@"
  }
  arm64 update
  arm64 install -y --download-only $packages
  # One folder of libraries, as in all of today's systems, whatever packages still say.
  mkdir -p "$work/root/usr/lib"
  ln -s usr/lib "$work/root/lib"
  for archive in "$work"/cache/archives/*.deb; do dpkg-deb -x "$archive" "$work/root" >&2; done
  # Another build may have been faster.
  mv -T "$work/root" "$target" 2>/dev/null || [ -d "$target" ]
fi
echo "$target"
