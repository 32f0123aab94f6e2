#!/usr/bin/env bash
# own_names.sh MODULE: nothing that the module defines is looked up by its name when it is loaded, where another library
# of the process could answer.
set -euo pipefail
defined=$(nm -D --defined-only "$1" | awk '{print $NF}' | LC_ALL=C sort -u)
looked_up=$(readelf -rW "$1" | awk '$3 ~ /^R_/ && NF >= 5 {sub(/@.*/, "", $5); print $5}' | LC_ALL=C sort -u)
shared=$(LC_ALL=C comm -12 <(echo "$defined") <(echo "$looked_up"))
for name in $shared; do echo "bound by name: $name $(c++filt "$name")"; done
test -z "$shared" && grep -q free <<<"$looked_up"
