#!/usr/bin/env bash
# every_check.sh CHECKER CHECK...: each check of the group contract is among those that a mutant of the memory module
# is held against.
set -euo pipefail
checker=$1
shift
missing=$(LC_ALL=C comm -23 <("$checker" --list --group contract | awk '{print $2}' | LC_ALL=C sort) \
  <(printf '%s\n' "$@" | LC_ALL=C sort -u))
[ -z "$missing" ] || { echo "no mutant breaks the promise of:"; echo "$missing"; exit 1; }
