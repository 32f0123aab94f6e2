#!/usr/bin/env bash
# memory_module_test.sh LOCALDISK-HOST MODULE: the host works with a module whose entries are no files of this machine,
# and mounts it. Exit code 77, with the reason, where no drive can be mounted here.
set -euo pipefail
host=$(realpath "$1")
module=$(realpath "$2")
base=$(mktemp -d)
drive=$base/drive
mkdir "$drive" "$base/cache"
pid=
clean_up() {
  local result=$?
  if mountpoint -q "$drive"; then fusermount3 -u "$drive" || umount -l "$drive"; fi
  [[ -z $pid ]] || wait "$pid" || true
  rm -rf "$base"
  exit $result
}
trap clean_up EXIT

"$host" --module "$module" ls / >"$base/out"  # a module starts empty, and each command is a process of its own
! grep . "$base/out"
if "$host" --module "$module" ls /none 2>"$base/out"; then echo "a missing folder was listed"; exit 1; fi
grep -i "not.found\|no such" "$base/out"

[[ -r /dev/fuse && -w /dev/fuse ]] || { echo "no drive can be mounted here: /dev/fuse is missing"; exit 77; }
"$host" --module "$module" mount --foreground --cache "$base/cache" --root / "$drive" >"$base/out" 2>&1 &
pid=$!
for _ in {1..100}; do
  mountpoint -q "$drive" && break
  kill -0 "$pid" 2>/dev/null || { cat "$base/out"; exit 1; }
  sleep 0.05
done
mkdir -p "$drive/a/b"
seq 200000 >"$base/numbers"
cp "$base/numbers" "$drive/a/b/numbers"
cmp "$base/numbers" "$drive/a/b/numbers"
mv "$drive/a/b" "$drive/c"
cmp "$base/numbers" "$drive/c/numbers"
rm -r "$drive/c"
[[ $(ls "$drive") == a ]]
