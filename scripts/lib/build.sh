# build PRESET: configures and builds, and shows the log only when that fails. To be sourced, from the project's root.
build() {
  local preset=$1 log
  log=$(mktemp)
  if ! { cmake --preset "$preset" && cmake --build --preset "$preset"; } >"$log" 2>&1; then
    tail -n 60 "$log" >&2
    echo "The build failed; its whole log is $log" >&2
    return 1
  fi
  rm -f "$log"
}
