#!/bin/sh
# Makes parvane.ico of ../parvane.svg (Debian: librsvg2-bin, imagemagick). It is kept with the sources, so that
# who builds needs neither.
set -eu
cd "$(dirname "$0")"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for size in 16 32 48 256; do
  rsvg-convert -w $size -h $size ../parvane.svg -o "$work/$size.png"
done
convert "$work/16.png" "$work/32.png" "$work/48.png" "$work/256.png" parvane.ico
