#!/usr/bin/env bash
# expect_refusal.sh CHECKER MODULE REASON [OPTION...]: the checker checks nothing and says why, in one line
# (and where the words were wrong, where to look them up).
set -euo pipefail
checker=$1 module=$2 reason=$3
shift 3
code=0
said=$("$checker" "$@" "$module" 2>&1) || code=$?
echo "$said"
lines=$(grep -vcx "Run with --help for more information." <<<"$said")
[ "$code" -eq 2 ] && [ "$lines" -eq 1 ] && grep -qF -- "$reason" <<<"$said"
