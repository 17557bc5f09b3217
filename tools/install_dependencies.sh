#!/bin/sh
# Installs what is missing to build and test Parvane on Debian or Ubuntu; does nothing when all is
# there.
#
#   install_dependencies.sh            what building needs
#   install_dependencies.sh GROUP...   the same, and what these need: "tests", "clang" (for .ci/run and
#                                      fuzzing), "docs", "packages" (Debian packages), "bench" (the yardsticks
#                                      of benchmarks), "browser" (the window's tests), "windows" (the Windows
#                                      program and its tests under Wine), "arm64" (the same for 64-bit ARM
#                                      under qemu; its libraries are not installed: tools/arm64_sysroot.sh)
#
# Runs apt-get as root, through sudo for everyone else. On other systems it says which packages to
# look for and leaves the rest to the build, which names what it cannot find.
set -eu

build="g++ make cmake ninja-build pkg-config patch xz-utils libicu-dev libfmt-dev libcli11-dev libpugixml-dev nlohmann-json3-dev
libarchive-dev nettle-dev libgtest-dev libgmock-dev libbenchmark-dev python3"
tests="clang-format pst-utils pff-tools tzdata dpkg-dev file parallel zsh fish"
clang="clang libclang-rt-dev"
docs="doxygen"
packages="debhelper lintian appstream desktop-file-utils"
bench="libgmime-3.0-dev zlib1g-dev"
windows="g++-mingw-w64-x86-64-posix libz-mingw-w64-dev googletest wine wine64 nsis"
arm64="g++-aarch64-linux-gnu qemu-user"

# These are often there from elsewhere than Debian.
browser=
for program in node:nodejs npm:npm chromium:chromium; do
  command -v "${program%:*}" >/dev/null 2>&1 || browser="$browser ${program#*:}"
done

wanted=$build
for group in "$@"; do
  case $group in
    tests) wanted="$wanted $tests $docs $packages" ;;
    clang) wanted="$wanted $clang" ;;
    docs) wanted="$wanted $docs" ;;
    packages) wanted="$wanted $packages" ;;
    bench) wanted="$wanted $bench" ;;
    browser) wanted="$wanted $browser" ;;
    windows) wanted="$wanted $windows" ;;
    arm64) wanted="$wanted $arm64" ;;
    *) echo "install_dependencies: unknown group $group" >&2; exit 2 ;;
  esac
done

if ! command -v dpkg-query >/dev/null 2>&1; then
  echo "install_dependencies: no Debian package manager here; Parvane needs the equivalents of:" >&2
  echo "  "$wanted >&2
  exit 0
fi

missing=
for package in $wanted; do
  state=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
  case $state in
    installed*) ;;
    *) missing="$missing $package" ;;
  esac
done
[ -n "$missing" ] || exit 0

as_root=
if [ "$(id -u)" != 0 ]; then
  if ! command -v sudo >/dev/null 2>&1; then
    echo "install_dependencies: not root and no sudo; please install:$missing" >&2
    exit 1
  fi
  as_root=sudo
fi

echo "Installing:$missing"
DEBIAN_FRONTEND=noninteractive
export DEBIAN_FRONTEND
# Another package manager may be at work (a machine's first minutes are full of them): wait for its lock.
apt() {
  $as_root env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=600 "$@" </dev/null
}
install() { apt install -y -q --no-install-recommends $missing; }
# The lists may be absent or old (a fresh container); try without refreshing them first. Their lock is one
# that apt does not wait for.
install || { { apt update -q || { sleep 60 && apt update -q; }; } && install; }
