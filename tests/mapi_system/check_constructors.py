#!/usr/bin/env python3
"""Fails when an object file that goes into parvanemapi.dll has a constructor that would run while
the library is loaded, or a destructor for when it goes: other programs load it, and at that moment
next to nothing may be done.

  usage: check_constructors.py NM FILE...
"""
import re
import subprocess
import sys

nm, files = sys.argv[1], sys.argv[2:]
symbols = subprocess.run([nm, '-A', *files], stdout=subprocess.PIPE, check=True, text=True).stdout
faults = [line for line in symbols.splitlines() if re.search(r'_GLOBAL__sub_[ID]_|\bDllMain\b', line)]
print('\n'.join(faults))
# Without our symbols in it, the list was of something else.
sys.exit(1 if faults or 'ParvaneMAPILogonEx' not in symbols else 0)
