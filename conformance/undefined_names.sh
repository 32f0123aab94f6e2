#!/bin/sh
# undefined_names.sh NM OBJECT OUT: the names that OBJECT refers to, as C texts, one a line.
set -eu
strip=
case "$(uname)" in Darwin) strip=_ ;; esac
"$1" -u "$2" | awk '{print $NF}' | sort -u | sed "s/^$strip\(.*\)$/\"\1\",/" >"$3"
