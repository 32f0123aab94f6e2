#!/bin/sh
# undefined_names.sh NM OBJECT OUT [PREFIX]: the names that OBJECT refers to, as C texts, one a line, without the PREFIX that
# the system puts before each.
set -eu
"$1" -u "$2" | awk '{print $NF}' | sort -u | sed "s/^${4:-}\(.*\)$/\"\1\",/" >"$3"
