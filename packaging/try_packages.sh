#!/bin/sh
# try_packages.sh ROOT [DEB...]: installs the Debian packages (default: build/release/*.deb) on a bare Debian 12
# in the folder ROOT, which debootstrap fills where it is missing; goes through README's session as it is
# printed there; upgrades, removes, and looks for what was left behind. As root, with Debian's mirrors; not a
# part of `make test`, because it takes 150 MB from the network.
set -eu
root=$1
shift
top=$(cd "$(dirname "$0")/.." && pwd)
[ $# -gt 0 ] || set -- "$top"/build/release/*.deb
within() { chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@"; }
apt() { within apt-get -q -y --no-install-recommends "$@" >>"$root/apt.log" 2>&1 || { tail -20 "$root/apt.log"; exit 1; }; }
say() { echo "try_packages: $*"; }

[ -d "$root/usr" ] || debootstrap --variant=minbase bookworm "$root" ${MIRROR:-} >"$root.log" 2>&1
apt update
files() { within find / -xdev -path /proc -prune -o -path /sys -prune -o -path /dev -prune -o -path /tmp -prune -o \
  -path /packages -prune -o -path /root -prune -o -path /apt.log -prune -o -path /var/cache -prune -o -path /var/log -prune -o \
  -path /var/lib/apt -prune -o -path /var/lib/dpkg -prune -o -print | sort; }
files >"$root.before"

mkdir -p "$root/packages"
cp "$@" "$root/packages/"
apt install $(cd "$root" && ls ./packages/*.deb | sed 's|^\.||')
within dpkg --audit
within ldconfig -p | grep -q libparvane.so.0
say "installed: $(within dpkg-query -W -f '${Package} ${Version}, ' parvane libparvane0 libparvane-dev)"
for command in '' -convert -scan -list -check -verify -app; do
  [ -f "$root/usr/share/man/man1/parvane$command.1.gz" ]
done
[ -f "$root/usr/include/parvane/version.h" ]

# README's session, command by command, with what it says they print.
rm -rf "$root/tmp/session"
mkdir "$root/tmp/session"
cp -r "$top/examples/mail" "$root/tmp/session/mail"
cp "$top/examples/mail/Sent.mbox" "$root/tmp/session/mail/Sent 2018.old"
python3 - "$top/README.md" "$root" <<'PYTHON'
import re, subprocess, sys
readme = open(sys.argv[1], encoding='utf-8').read()
session = re.search(r'## A session\n\n```\n(.*?)^```', readme, re.M | re.S)[1]
commands = re.findall(r'^\$ (.*)\n((?:(?!\$ ).*\n)*)', session, re.M)
for command, wanted in commands:
    run = subprocess.run(['chroot', sys.argv[2], 'sh', '-c', 'cd /tmp/session; export LC_ALL=C.UTF-8; ' + command],
                         stdout=subprocess.PIPE, text=True, encoding='utf-8')
    if run.stdout.strip() != wanted.strip():
        sys.exit(f'{command}\nprints:\n{run.stdout}\nnot:\n{wanted}')
print(f'try_packages: {len(commands)} commands of the session print what README says')
PYTHON

# The next version over this one.
for package in "$root"/packages/*.deb; do
  rm -rf "$root/packages/next"
  dpkg-deb -R "$package" "$root/packages/next"
  sed -i -E 's/^(Version: .*|Depends: .*libparvane0 \(= [^)]*)(\)?)/\1+next\2/; s/(libparvane0 \(= [^+)]*)\)/\1+next)/' "$root/packages/next/DEBIAN/control"
  sed -i 's/+next+next/+next/' "$root/packages/next/DEBIAN/control"
  dpkg-deb --root-owner-group -b "$root/packages/next" "$package" >/dev/null
done
rm -rf "$root/packages/next"
apt install $(cd "$root" && ls ./packages/*.deb | sed 's|^\.||')
within dpkg --audit
within parvane check /tmp/session/mail.pst
say "upgraded: $(within dpkg-query -W -f '${Package} ${Version}, ' parvane libparvane0 libparvane-dev)"

apt purge parvane libparvane0 libparvane-dev
apt autoremove --purge
files >"$root.after"
# What belongs to packages that something else wants as well is theirs.
cat "$root"/var/lib/dpkg/info/*.list | sort -u >"$root.owned"
left=$(comm -13 "$root.before" "$root.after" | comm -23 - "$root.owned" | grep -v -e '^/etc/ld.so.cache' -e '__pycache__' || true)
[ -z "$left" ] || { echo "left behind:"; echo "$left"; exit 1; }
say "removed, and nothing left behind"
