#!/usr/bin/env bash
# exports.sh MODULE OBJECT: the module's dynamic symbols are those that OBJECT refers to, and no others.
set -euo pipefail
wanted=$(nm -u "$2" | awk '{print $NF}' | sort -u)
exported=$(nm -D --defined-only "$1" | awk '{print $NF}' | sort -u)
missing=$(comm -23 <(echo "$wanted") <(echo "$exported"))
surplus=$(comm -13 <(echo "$wanted") <(echo "$exported"))
for name in $missing; do echo "not exported: $name $(c++filt "$name")"; done
for name in $surplus; do echo "exported, but not on the list: $name $(c++filt "$name")"; done
test -z "$missing$surplus"
echo "$(wc -l <<<"$wanted") exports, each as declared"
