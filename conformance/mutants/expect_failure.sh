#!/usr/bin/env bash
# expect_failure.sh CHECK MUTANT FILTER REASON: the checker refuses the mutant and names REASON.
set -euo pipefail
if said=$("$1" "$2" --filter "$3" --json); then
  echo "the mutant passed:"
  echo "$said"
  exit 1
fi
echo "$said"
tail -n 1 <<<"$said" | grep -q '"good":false'
grep '"outcome":"FAILED"' <<<"$said" | grep -qF -- "$4"
