#!/usr/bin/env bash
# Works on a mounted drive as programs do, and compares with a plain folder.
#
#   mount_test.sh LOCALDISK-HOST RANDOM_FILES
#
# LOCALDISK_TEST_OPERATIONS says how much: so many random operations (2000), and a tree of at least a quarter as many
# files. Exit code 77, with the reason, where the drive can't be mounted here.
set -euo pipefail
shopt -s inherit_errexit

host=$(realpath "$1")
random_files=$(realpath "$2")
operations=${LOCALDISK_TEST_OPERATIONS:-2000}
base=$(mktemp -d "$([[ -w /dev/shm ]] && echo /dev/shm || echo "${TMPDIR:-/tmp}")/localdisk-mount-test-XXXXXX")
root=$base/root drive=$base/drive plain=$base/plain cache=$base/cache small=$base/small
mkdir "$root" "$drive" "$plain" "$cache" "$small"
pid=

unmount() {
  if mountpoint -q "$drive"; then fusermount3 -u "$drive" 2>/dev/null || umount "$drive"; fi
  if [[ -n $pid ]]; then wait "$pid" || true; fi
  pid=
}
clean_up() {
  local result=$?
  set +e
  mountpoint -q "$drive" && { fusermount3 -uz "$drive" || umount -l "$drive"; }
  [[ -n $pid ]] && kill "$pid" 2>/dev/null
  mountpoint -q "$small" && umount -l "$small"
  rm -rf "$base"
  ((result == 0 || result == 77)) || echo "FAILED: $step"
  exit $result
}
trap clean_up EXIT

# mount_drive FOLDER [OPTION...]: in this shell's hands, so that its end can be waited for.
mount_drive() {
  "$host" mount --foreground --cache "$cache" --root "$@" "$drive" >"$base/out" 2>&1 &
  pid=$!
  for _ in {1..100}; do
    mountpoint -q "$drive" && return
    kill -0 "$pid" 2>/dev/null || break
    sleep 0.05
  done
  cat "$base/out"
  return 1
}
step() {
  step=$1
  echo "$(date +%T) $step"
}
expect() { [[ $1 == "$2" ]] || { echo "got '$1', expected '$2'"; return 1; }; }
refused() { # TEXT COMMAND...: fails, and says so with that text
  local text=$1
  shift
  local said
  if said=$(LC_ALL=C "$@" 2>&1); then echo "$* succeeded"; return 1; fi
  [[ $said == *"$text"* ]] || { echo "$* said '$said', expected '$text'"; return 1; }
}

step="mounting"
[[ -w /dev/fuse ]] || { echo "SKIPPED: no access to /dev/fuse"; exit 77; }
mount_drive "$root" || { echo "SKIPPED: not allowed to mount here, or built without libfuse"; exit 77; }

step "what can't be mounted"
mkdir "$root/inside"
refused "$base/none is not a folder" "$host" mount --root "$root" "$base/none"
refused "$0 is not a folder" "$host" mount --root "$0" "$plain"
refused "$base is not empty" "$host" mount --root "$root" "$base"
refused "lies in the folder to mount" "$host" mount --root "$root" "$root/inside"
refused "name another folder with --cache" "$host" mount --root "$root" --cache "$root/inside" "$plain"
rmdir "$root/inside"

files=$((operations / 4))
step "a tree of $files files"
mkdir "$base/tree"
(cd /usr/include && find -L . -type f | sed -n "1,$((files * 11 / 10))p" | tar -chf - -T -) | tar -xf - -C "$base/tree"
while (($(find "$base/tree" -type f | wc -l) < files)); do cp -r "$base/tree" "$base/more" && mv "$base/more" "$base/tree/$RANDOM"; done
cp -r --preserve=timestamps "$base/tree" "$drive/tree"
diff -r "$base/tree" "$drive/tree"
diff -r "$base/tree" "$root/tree"
tar -cf "$base/tree.tar" -C "$drive" tree
mkdir "$drive/unpacked"
tar -xf "$base/tree.tar" -C "$drive/unpacked"
diff -r "$base/tree" "$drive/unpacked/tree"
expect "$(cd "$root/unpacked/tree" && find . -type f -printf '%P %T@\n' | sed 's/\..*//' | sort | md5sum)" \
  "$(cd "$base/tree" && find . -type f -printf '%P %T@\n' | sed 's/\..*//' | sort | md5sum)"
mv "$drive/tree" "$drive/renamed"
diff -r "$base/tree" "$drive/renamed"
rm -r "$drive/renamed" "$drive/unpacked"
expect "$(ls -A "$root")" ""

step "errors and attributes"
cd "$drive"
mkdir folder && echo content >folder/file
refused "File exists" mkdir folder
refused "Directory not empty" rmdir folder
refused "No such file" cat missing
refused "No such file" mkdir missing/folder
refused "Not a directory" mkdir folder/file/below
refused "File name too long" touch "$(printf 'x%.0s' {1..256})"
refused "Operation not permitted" ln -s folder link
refused "Operation not permitted" ln folder/file link
echo mine >.localdisk-upload-mine && expect "$(cat .localdisk-upload-mine)$(cat "$root/.localdisk-upload-mine")" minemine
chmod 600 folder/file && chown 1:1 folder/file
for time in 1950-07-01T12:00:00 1999-12-31T23:59:59 2024-07-15T08:30:01 2050-01-01T00:00:00; do
  touch -d "$time" folder/file
  expect "$(stat -c %Y folder/file)" "$(date -d "$time" +%s)"
  expect "$(stat -c %Y "$root/folder/file")" "$(date -d "$time" +%s)"
done
touch "$(printf 'bytes \xff\xfe\n')" && expect "$(ls -A --quoting-style=c)" "$(ls -A --quoting-style=c "$root")"
expect "$(df --output=size -B1 . | tail -1)" "$(df --output=size -B1 "$root" | tail -1)"
cd "$base"
rm -r "${drive:?}"/* "$drive/.localdisk-upload-mine"

step "$operations random operations, one thread"
"$random_files" "$drive" "$plain" 4711 "$operations" 1
diff -r "$plain" "$root"
step "$operations random operations, 8 threads"
rm -rf "${drive:?}"/* "${plain:?}"/*
"$random_files" "$drive" "$plain" 815 "$operations" 8
diff -r "$plain" "$root"
diff -r "$drive" "$root"
expect "$(ls -AR "$drive" | sed "s|$drive||")" "$(ls -AR "$root" | sed "s|$root||")"
rm -rf "${drive:?}"/*

step "a database"
sqlite3 "$drive/db" "create table t(i integer primary key, x text); create index n on t(x);"
for _ in {1..5}; do
  sqlite3 "$drive/db" "with recursive c(i) as (select 1 union all select i+1 from c where i<2000)
    insert into t(x) select hex(randomblob(20)) from c; delete from t where i % 7 = 0;"
done
expect "$(sqlite3 "$drive/db" 'pragma integrity_check; select count(*) > 8000 from t;')" $'ok\n1'
expect "$(sqlite3 "$root/db" 'pragma integrity_check;')" ok

step "rsync, twice each way"
sync_tree() { rsync -a --no-perms --no-owner --no-group --itemize-changes "$@"; }
sync_tree /usr/include/linux/ "$drive/linux/" >/dev/null
expect "$(sync_tree /usr/include/linux/ "$drive/linux/")" ""
sync_tree "$drive/linux/" "$base/back/" >/dev/null
expect "$(sync_tree "$drive/linux/" "$base/back/")" ""
unmount

step "in the background"
"$host" mount --cache "$cache" --root "$root" "$drive" >/dev/null
cmp "$drive/db" "$root/db"
unmount

step "read-only"
mount_drive "$root" --read-only
refused "Read-only file system" touch "$drive/new"
cmp "$drive/db" "$root/db"
unmount

step "the end by a signal finishes what is open and changed"
mount_drive "$root"
exec 7>"$drive/open"
echo "not yet closed" >&7
kill -TERM "$pid"
wait "$pid" && pid=
exec 7>&- 2>/dev/null || true
expect "$(cat "$root/open")" "not yet closed"

step "a kill leaves what was closed"
mount_drive "$root"
(for i in {1..100000}; do
  head -c 300000 /dev/zero | tr '\0' "$((i % 10))" >"$drive/changing" && echo "$i" >>"$base/closed" || exit
done) 2>/dev/null &
writer=$!
sleep 1.5
kill -KILL "$pid"
wait "$pid" 2>/dev/null || true
pid=
wait "$writer" || true
fusermount3 -uz "$drive" 2>/dev/null || umount -l "$drive"
last=$(tail -1 "$base/closed")
((last > 10))
# The shell empties the file before it writes it: that too is a whole content, of the step after the last.
found=$(tr -d "$((last % 10))$(((last + 1) % 10))" <"$root/changing" | wc -c)
expect "$found" 0
expect "$(stat -c %s "$root/changing" | grep -cE '^(0|300000)$')" 1

step "a full volume"
if ! mount -t tmpfs -o size=4m tmpfs "$small" 2>/dev/null; then
  echo "SKIPPED this step: not allowed to mount a tmpfs"
  exit 0
fi
rm -rf "${cache:?}"/*
mount_drive "$small"
head -c 1500000 /dev/urandom >"$base/older"
cp "$base/older" "$drive/older"
mkdir "$drive/folder"
head -c 5000000 /dev/urandom >"$base/big"
refused "No space left on device" cp "$base/big" "$drive/folder/big"
refused "No space left on device" cp "$base/big" "$drive/older"
cmp "$base/older" "$small/older"
cmp "$base/big" "$drive/older"
expect "$(stat -c %s "$drive/folder/big")" 5000000
fusermount3 -u "$drive" 2>/dev/null || umount "$drive"
result=0
wait "$pid" || result=$?
pid=
expect "$result" 1
cmp "$base/older" "$small/older"
rescue=$(echo "$cache"/localdisk-mount-*/rescue)
cmp "$base/big" "$rescue/folder/big"
cmp "$base/big" "$rescue/older"
grep -qF "$rescue/folder/big" "$base/out"
expect "$(ls -A "$small")" $'folder\nolder'
echo "passed"
