#!/bin/sh
# Runs the window's tests in WORK, with what package.json names from the npm registry, fetched once for each
# build folder. Where that cannot be had, says so in NOT_TESTED and ends with 77.
#
#   run.sh WORK NOT_TESTED
set -eu
here=$(dirname "$0")
cp "$here"/*.json "$here"/*.mjs "$1"
cd "$1"
lock=$(cksum <package-lock.json)
if [ "$(cat fetched 2>/dev/null)" != "$lock" ]; then
  npm ci --no-audit --no-fund --ignore-scripts --prefer-offline --fetch-retries=1 || {
    echo "not tested: browser (needs the npm registry)" >>"$2"
    exit 77
  }
  echo "$lock" >fetched
fi
exec node --test --test-reporter=spec window_test.mjs
