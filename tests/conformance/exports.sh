#!/usr/bin/env bash
# exports.sh MODULE NAMES: the module's dynamic symbols are those that NAMES lists as C texts, and no others.
set -euo pipefail
wanted=$(tr -d '",' <"$2" | LC_ALL=C sort -u)
exported=$(nm -D --defined-only "$1" | awk '{print $NF}' | LC_ALL=C sort -u)
missing=$(LC_ALL=C comm -23 <(echo "$wanted") <(echo "$exported"))
surplus=$(LC_ALL=C comm -13 <(echo "$wanted") <(echo "$exported"))
for name in $missing; do echo "not exported: $name $(c++filt "$name")"; done
for name in $surplus; do echo "exported, but not on the list: $name $(c++filt "$name")"; done
test -z "$missing$surplus"
echo "$(wc -l <<<"$wanted") exports, each as declared"
