# Functions of the scripts: install missing packages, build a preset. To be sourced.
# shellcheck shell=sh

root=$(CDPATH='' cd -- "$(dirname -- "$0")/.." && pwd)

build_packages="g++-multilib cmake ninja-build googletest libcli11-dev nlohmann-json3-dev pkg-config"
test_packages="python3-cram rlwrap zsh"
python_packages="mypy python3-dev python3-numpy python3-pip python3-pytest python3-setuptools python3-wheel"
docs_packages="doxygen graphviz man-db python3"
clang_packages="clang libclang-rt-14-dev"
# Only for the checks.
check_packages="$clang_packages clang-format clang-tidy cppcheck lld prometheus python3 tshark"

# missing_packages PACKAGE...: those that are not installed.
missing_packages() {
  for package in "$@"; do
    dpkg-query -W -f '${Status}\n' "$package" 2>/dev/null | grep -q 'ok installed' ||
      printf '%s ' "$package"
  done
}

as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    env DEBIAN_FRONTEND=noninteractive "$@"
  else
    sudo env DEBIAN_FRONTEND=noninteractive "$@"
  fi
}

# install_packages PACKAGE...: installs what is missing; quick when nothing is.
install_packages() {
  missing=$(missing_packages "$@")
  [ -n "$missing" ] || return 0
  if [ "$(id -u)" -ne 0 ] && ! command -v sudo >/dev/null; then
    echo "$0: these packages are missing, and installing them needs root:" >&2
    echo "  apt-get install $missing" >&2
    exit 1
  fi
  echo "Installing: $missing" >&2
  # One index that cannot be fetched need not matter; a package that cannot be installed does.
  as_root apt-get -q update >&2 || echo "$0: apt-get update ended with an error; going on" >&2
  # shellcheck disable=SC2086  # a list of names
  as_root apt-get -q install -y --no-install-recommends $missing >&2 && return 0
  for package in $missing; do
    as_root apt-get -q install -y --no-install-recommends "$package" >&2 || {
      echo "$0: cannot install package $package" >&2
      exit 1
    }
  done
}

# install_i386_packages PACKAGE:i386...: the same, on a machine that may not know i386 packages yet.
install_i386_packages() {
  if [ -n "$(missing_packages "$@")" ] && ! dpkg --print-foreign-architectures | grep -qx i386; then
    echo "Adding the i386 architecture, for $*" >&2
    as_root dpkg --add-architecture i386
  fi
  install_packages "$@"
}

# set_up [PACKAGES...]: installs what every build needs, and besides it these packages; an argument may
# be a list of them.
set_up() {
  # shellcheck disable=SC2048,SC2086  # lists of names
  install_packages $build_packages $*
}

# Shows the last of its lines on a terminal, as long as they come; nothing elsewhere.
show_progress() {
  [ -t 2 ] || exec cat >/dev/null
  while IFS= read -r line; do
    printf '\r%-79.79s' "$line" >&2
  done
  printf '\r%79s\r' '' >&2
}

# configure_and_build PRESET [TARGET...]
configure_and_build() {
  preset=$1
  shift
  [ $# -eq 0 ] || set -- --target "$@"
  # Whatever else has changed, the build itself configures anew.
  [ "$root/build/$preset/build.ninja" -nt "$root/CMakePresets.json" ] || cmake --preset "$preset" || return
  cmake --build --preset "$preset" "$@"
}

# build_preset PRESET [TARGET...]: configures once and builds; says nothing unless it fails, but shows
# on a terminal how far it is.
build_preset() {
  log=$root/build/$1.log
  mkdir -p "$root/build"
  built=$(cd "$root" && {
    {
      if configure_and_build "$@" 2>&1; then echo yes >&3; fi
    } | tee "$log" | show_progress
  } 3>&1)
  [ "$built" = yes ] || {
    cat "$log" >&2
    echo "$0: building preset $1 failed" >&2
    exit 1
  }
}
