# need PACKAGE...: installs the Debian packages that are missing, and says what to do where it can't. Quiet when all is
# there. To be sourced.
need() {
  local missing=() package
  for package in "$@"; do
    dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed || missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null || ! sudo -n true 2>/dev/null; then
      echo "Missing packages: ${missing[*]}" >&2
      echo "Install them as root, for example: apt-get install ${missing[*]}" >&2
      return 1
    fi
    as_root=(sudo)
  fi
  echo "Installing ${missing[*]}" >&2
  local log
  log=$(mktemp)
  if ! { "${as_root[@]}" apt-get update -qq && "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install \
    -y -qq --no-install-recommends "${missing[@]}"; } >"$log" 2>&1; then
    tail -n 20 "$log" >&2
    rm -f "$log"
    echo "The packages above could not be installed: ${missing[*]}" >&2
    return 1
  fi
  rm -f "$log"
}

# What the module and the host are built from, and what their tests need beside that.
build_packages=(cmake g++ libcli11-dev libfmt-dev libfuse3-dev libhowardhinnant-date-dev ninja-build
  nlohmann-json3-dev pkg-config uuid-dev fuse3)
test_packages=(binutils diffutils googletest libgtest-dev locales python3 rsync sqlite3 util-linux)

# What checks, describes, packs and compares the result.
check_packages=(abigail-tools clang-19 clang-tidy-19 doxygen dpkg-dev file gzip libc++-19-dev libc++abi-19-dev
  libclang-rt-19-dev lintian llvm-19)
