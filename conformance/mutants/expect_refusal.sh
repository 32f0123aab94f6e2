#!/usr/bin/env bash
# expect_refusal.sh CHECKER MODULE REASON [OPTION...]: the checker checks nothing and says why, in one line.
set -euo pipefail
checker=$1 module=$2 reason=$3
shift 3
code=0
said=$("$checker" "$@" "$module" 2>&1) || code=$?
echo "$said"
[ "$code" -eq 2 ] && [ "$(wc -l <<<"$said")" -eq 1 ] && grep -qF -- "$reason" <<<"$said"
