#!/usr/bin/env bash
# judge.sh CHECK TWIN FILTER REASON: the checker refuses the broken module and names REASON.
set -euo pipefail
if said=$("$1" "$2" --filter "$3" --json); then
  echo "the twin passed:"
  echo "$said"
  exit 1
fi
echo "$said"
tail -n 1 <<<"$said" | grep -q '"good":false'
grep '"outcome":"FAILED"' <<<"$said" | grep -qF -- "$4"
