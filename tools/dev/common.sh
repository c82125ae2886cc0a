# shellcheck shell=bash disable=SC2034,SC2207 # the lists are used by the scripts that source this
# What every command of ./dev shares: saying what happens, installing what is missing, building.
# Sourced with the project's root as the current folder.

say() { printf '== %s\n' "$*"; }
fail() {
  printf '%s\n' "$*" >&2
  exit 1
}

# Debian's names, one list for each thing to do. A command installs only its own.
# What the programs are built with stands in debian/control, one name a line.
BUILD_PACKAGES=(
  $(sed -nE '/^Build-Depends:/,/^[^ ]/ s/^ ([a-z0-9+.-]+).*/\1/p' debian/control)
  g++ libgtest-dev libgmock-dev libzbar-dev
)
TEST_PACKAGES=(
  pulseaudio pulseaudio-utils pipewire pipewire-pulse wireplumber dbus
  xvfb xauth imagemagick iproute2 procps
  fonts-dejavu-core fonts-noto-core fonts-noto-color-emoji
  appstream desktop-file-utils groff-base at-spi2-core
)
SHOTS_PACKAGES=(fonts-dejavu-core fonts-noto-core fonts-noto-color-emoji weston qt6-wayland)
DEMO_PACKAGES=(pulseaudio pulseaudio-utils xvfb imagemagick fonts-dejavu-core)
# llvm-19: the names in the sanitizers' reports, which suppressions go by.
CHECK_PACKAGES=(
  clang-19 clang-tidy-19 clang-format-19 libclang-rt-19-dev llvm-19
)
COVERAGE_PACKAGES=(gcovr)
PACKAGE_PACKAGES=(dpkg-dev debhelper git lintian)
BENCH_PACKAGES=(
  pulseaudio pulseaudio-utils pipewire pipewire-pulse wireplumber dbus xvfb
  ffmpeg gstreamer1.0-tools gstreamer1.0-pulseaudio
  gstreamer1.0-plugins-base gstreamer1.0-plugins-good
)

is_installed() {
  [ "$(dpkg-query --show --showformat='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

# need_packages NAME...: installs those that are missing; says nothing when none is.
need_packages() {
  command -v apt-get >/dev/null || return 0 # not Debian: CMake says what it misses
  local missing=() package
  for package; do
    is_installed "$package" || missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || return 0

  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null ||
      fail "These packages are missing, please install them as root: ${missing[*]}"
    as_root=(sudo)
  fi
  say "installing ${missing[*]}"
  local log
  log=$(mktemp)
  for step in "update" "install --yes --no-install-recommends ${missing[*]}"; do
    # shellcheck disable=SC2086 # the words of a step are its arguments
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q $step >"$log" 2>&1 || {
      tail -n 20 "$log" >&2
      fail "apt-get $step did not succeed; its whole output is in $log"
    }
  done
  rm -f "$log"
}

# configure PRESET [cmake arguments]: quiet unless it fails or has not been done yet.
configure() {
  local preset=$1
  shift
  say "configuring build/$preset"
  mkdir -p "build/$preset"
  cmake --preset "$preset" "$@" >"build/$preset/configure.log" 2>&1 || {
    cat "build/$preset/configure.log" >&2
    fail "CMake did not succeed; the lines above say what is missing."
  }
}

# build PRESET [TARGET...]: everything, or the targets.
build() {
  local preset=$1
  shift
  say "building build/$preset${*:+: $*}"
  local targets=()
  [ $# -eq 0 ] || targets=(--target "$@")
  cmake --build "build/$preset" "${targets[@]}"
}
