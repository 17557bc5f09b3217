#!/bin/sh
# try_container.sh ROOT: goes through the steps of Containerfile without a registry and a container engine: in a
# Debian 12 that debootstrap makes in the folder ROOT, then in the file system that is left in the end. As root.
# SOURCES_AT says where the sources lie there (default: /src, as in the Containerfile) and BUILD_ENVIRONMENT what
# the steps see, so that a ccache that knows them can be used.
set -eu
root=$1
sources=${SOURCES_AT:-/src}
top=$(cd "$(dirname "$0")/.." && pwd)
[ -d "$root/usr" ] || debootstrap --variant=minbase bookworm "$root" ${MIRROR:-} >"$root.log" 2>&1
rm -rf "$root$sources" "$root/image"
mkdir -p "$root$sources"
(cd "$top" && git ls-files -z | tar c --null -T - ) | tar x -C "$root$sources"
# What the first stage runs, in its order.
sed -n '/^FROM.* AS build/,/^FROM scratch/s/^RUN //p' "$top/Containerfile" | while read -r step; do
  echo "try_container: $step"
  chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root ${BUILD_ENVIRONMENT:-} \
    sh -c "cd $sources && $step" </dev/null
done
du -sh "$root/image"
find "$root/image" -type f | sed "s|^$root/image||" | sort

image=$root/image
mkdir -p "$image/srv/out"
cp -r "$top/examples/mail" "$image/srv/mail"
cp "$top/examples/many/convert-one.sh" "$image/srv/"
chroot "$image" /usr/bin/parvane convert /srv/mail/Inbox.mbox /srv/out/inbox.pst
# The script of README's Kubernetes job, for its second source.
printf '/srv/mail/Inbox.mbox\n/srv/mail/Sent.mbox\n' >"$image/srv/mailboxes.txt"
python3 - "$top/README.md" "$image/srv/job.sh" <<'PYTHON'
import re, sys
recipe = re.search(r'^```yaml\n(.*?)^```', open(sys.argv[1], encoding='utf-8').read(), re.M | re.S)[1]
script = re.search(r'- \|\n((?: {14}.*\n)+)', recipe)[1]
open(sys.argv[2], 'w', encoding='utf-8').write(script)
PYTHON
mkdir -p "$image/scripts"
cp "$top/examples/many/convert-one.sh" "$image/scripts/"
chroot "$image" /bin/sh -c 'JOB_COMPLETION_INDEX=1 PATH=/usr/bin:/bin sh /srv/job.sh'
chroot "$image" /usr/bin/parvane list /srv/out/1.pst
