#!/usr/bin/env bash
# initialisers.sh MODULE: nothing of the module runs when it is loaded, but for the construction of its one mutex where
# the standard library's mutex needs code for that (libc++ registers its destructor).
set -euo pipefail
allowed=1  # the compiler's own frame_dummy
readelf -d "$1" | grep -q 'libc++\.so' && allowed=2
bytes=$(readelf -SW "$1" | sed 's/^ *\[ *[0-9]*\]//' | awk '$1 == ".init_array" || $1 == ".ctors" {print "0x" $5}')
total=0
for size in $bytes; do total=$((total + size / 8)); done
echo "$total initialisers, $allowed allowed"
test "$total" -ge 1 && test "$total" -le "$allowed"
if readelf -d "$1" | grep NEEDED | grep -vE 'lib(c|m|stdc\+\+|gcc_s|c\+\+|c\+\+abi|unwind|uuid|pthread)\.so|ld-linux'; then
  echo "the libraries above are not among those that the module may need"
  exit 1
fi
