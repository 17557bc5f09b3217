#!/bin/sh
# collect.sh PROGRAM FOLDER: makes FOLDER a root file system with the program, a shell, the libraries of both
# where they are looked for, and the licences of these.
set -eu
program=$1
root=$2
mkdir -p "$root/usr/bin" "$root/bin" "$root/tmp" "$root/usr/share/doc"
chmod 1777 "$root/tmp"
cp "$program" "$root/usr/bin/parvane"
strip "$root/usr/bin/parvane"
cp /bin/dash "$root/bin/sh"
for library in $(ldd "$program" /bin/dash | grep -o '/[^ ]*\.so[^ ]*' | sort -u); do
  mkdir -p "$root$(dirname "$library")"
  cp -L "$library" "$root$library"
  # Packages know their files from before /lib became a link to /usr/lib.
  real=$(readlink -f "$library")
  package=$(dpkg -S "$real" "${real#/usr}" 2>/dev/null | cut -d: -f1 | head -1)
  mkdir -p "$root/usr/share/doc/$package"
  cp "/usr/share/doc/$package/copyright" "$root/usr/share/doc/$package/"
done
