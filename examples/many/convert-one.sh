#!/bin/sh
# convert-one.sh SOURCE DEST: converts one source into DEST.pst and writes the report DEST.json.
#
# For job schedulers. A conversion that ends with 1 is finished, and running it again changes nothing:
# the report says what to look at, and the job counts as done. Every other status comes through, that of a
# conversion that was killed as well, and says "run it again" or "mend it first".
parvane convert --quiet --overwrite --report "$2.json" "$1" "$2.pst"
status=$?
[ "$status" -ne 1 ] || status=0
exit "$status"
