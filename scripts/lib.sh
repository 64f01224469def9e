# Shared by the scripts of this directory, which source it after their arguments were checked.

set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
script=scripts/${0##*/}
jobs=$(nproc)

# fail MESSAGE: prints one line on standard error and ends the script.
fail() {
  echo "$script: $*" >&2
  exit 1
}

# need_build_directory NAME: creates build/. Fails while another run of that name is active in this checkout.
need_build_directory() {
  mkdir -p "$root/build" 2>/dev/null && [ -w "$root/build" ] || fail "build/: not writable; check its owner"
  exec 9>"$root/build/.$1.lock"
  flock -n 9 || fail "another run is in progress in this checkout"
}

# missing_packages NAME...: prints the Debian packages that are not installed, each after a space.
missing_packages() {
  present=$(dpkg-query -W -f '/${Package}/${db:Status-Status}/' "$@" 2>/dev/null || true)
  for package in "$@"; do
    case $present in
    *"/$package/installed/"*) ;;
    *) printf ' %s' "$package" ;;
    esac
  done
}

# need_packages NAME...: installs missing packages, one run at a time on this machine; the log is build/packages.log.
need_packages() {
  missing=$(missing_packages "$@")
  [ -n "$missing" ] || return 0
  sudo=
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || fail "missing packages; install them as root: apt-get install --no-install-recommends$missing"
    sudo=sudo
  fi
  echo "installing packages:$missing" | fold -s -w 120
  log=$root/build/packages.log
  $sudo flock /run/libdravik-packages.lock sh -c 'apt-get -q update
    DEBIAN_FRONTEND=noninteractive apt-get -q install -y --no-install-recommends -o DPkg::Lock::Timeout=600 "$@"' \
    sh $missing >"$log" 2>&1 9>&- && return 0
  grep -E '^(E|W|dpkg):' "$log" | cut -c 1-160 >&2
  fail "packages cannot be installed; the log is build/packages.log"
}

# use_compiler_cache: builds share their objects if ccache is installed: those of the packages with those of the tests,
# and those of several checkouts.
use_compiler_cache() {
  command -v ccache >/dev/null || return 0
  export CMAKE_C_COMPILER_LAUNCHER="${CMAKE_C_COMPILER_LAUNCHER-ccache}"
  export CMAKE_CXX_COMPILER_LAUNCHER="${CMAKE_CXX_COMPILER_LAUNCHER-ccache}"
  export CCACHE_BASEDIR="$root" CCACHE_NOHASHDIR=1
  export CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime # for precompiled headers
}

# minutes SECONDS: as 4:05.
minutes() { printf '%d:%02d' $(($1 / 60)) $(($1 % 60)); }

# show_progress LOG: prints the log's last line repeatedly: every second on one line of a terminal, else every 30
# seconds if it changed. Ends at SIGTERM by itself: the waiting shell reports no "Terminated".
show_progress() {
  trap 'exit 0' TERM
  pause=30
  [ -t 1 ] && pause=1
  elapsed=0
  shown=
  while pause_for 1 && kill -0 $$ 2>/dev/null; do
    elapsed=$((elapsed + 1))
    [ $((elapsed % pause)) -eq 0 ] || continue
    line=$(tail -n 5 "$1" | grep -v 'warnings\{0,1\} generated' | tail -n 1 | sed -E 's/ \.{3,}//' | cut -c 1-100)
    [ -n "$line" ] && [ "$line" != "$shown" ] || continue
    shown=$line
    if [ -t 1 ]; then printf '\r\033[K  %s' "$line"; else echo "  $line"; fi
  done
}

# pause_for SECONDS: a signal ends it, unlike a sleep in the foreground.
pause_for() {
  sleep "$1" >/dev/null 2>&1 &
  wait $!
}

# logged LOG COMMAND...: runs a command with its output in a log; shows its progress. Returns its exit status.
logged() {
  output=$1
  shift
  show_progress "$output" 9>&- &
  progress=$!
  trap 'kill $progress 2>/dev/null; echo; fail interrupted' INT TERM
  result=0
  "$@" >"$output" 2>&1 </dev/null 9>&- || result=$?
  kill $progress 2>/dev/null || true
  wait $progress 2>/dev/null || true
  trap - INT TERM
  [ -t 1 ] && printf '\r\033[K'
  return $result
}

# errors_of LOG: prints the errors of compilers and checkers with the lines after them, or the end of the log.
errors_of() {
  grep -E -A 6 '(error|Error|undefined reference|multiple definition|\*\*\*)' "$1" | grep -v 'warnings\{0,1\} generated' ||
    tail -n 40 "$1"
}

# debian_mirror: prints the address of this machine's package archive.
debian_mirror() {
  apt-get indextargets --format '$(SITE)' 2>/dev/null | grep -v security | head -n 1
}

# apt_network_settings: prints this machine's network settings of apt, for another apt.conf.
apt_network_settings() {
  apt-config dump | grep -E '^Acquire::(http|https|Retries)(::[^ ]*)? "[^"]' || true
}

debian_release() {
  . /etc/os-release && echo "$VERSION_CODENAME"
}

# use_apt_root DIRECTORY ARCHITECTURE: makes a directory for apt with lists of its own, without any package installed,
# and lets apt use it from now on. Downloads need no root; nothing else on the host is changed.
use_apt_root() {
  rm -rf "$1"
  mkdir -p "$1/etc/apt/apt.conf.d" "$1/etc/apt/preferences.d" "$1/var/lib/apt/lists/partial" \
    "$1/var/cache/apt/archives/partial" "$1/var/lib/dpkg"
  : >"$1/var/lib/dpkg/status"
  keyring=/usr/share/keyrings/debian-archive-keyring.gpg
  echo "deb [signed-by=$keyring] $(debian_mirror) $(debian_release) main" >"$1/etc/apt/sources.list"
  cat >"$1/apt.conf" <<SETTINGS
Dir "$1";
Dir::State::status "$1/var/lib/dpkg/status";
Dir::Bin::methods "/usr/lib/apt/methods";
APT::Architecture "$2";
APT::Architectures { "$2"; };
APT::Install-Recommends "false";
APT::Sandbox::User "root";
Acquire::Languages "none";
Debug::NoLocking "true";
SETTINGS
  apt_network_settings >>"$1/apt.conf"
  export APT_CONFIG="$1/apt.conf"
  apt-get -qq update
}

library_packages="g++ cmake make libjpeg62-turbo-dev libasound2-dev libmad0-dev libfreetype-dev"
simulator_packages="$library_packages libboost-dev libpng-dev zlib1g-dev"
demo_packages="$simulator_packages librsvg2-bin imagemagick console-setup-linux gzip
  fonts-liberation fonts-droid-fallback sox espeak-ng lame dosfstools mtools ffmpeg"
cross_packages="$library_packages debian-archive-keyring"
sysroot_packages="libc6-dev libjpeg62-turbo-dev libasound2-dev libmad0-dev libfreetype-dev libboost-dev libpng-dev
  zlib1g-dev libgtest-dev libgmock-dev libstdc++6 libgcc-s1"
arm_packages="$cross_packages g++-arm-linux-gnueabihf g++-arm-linux-gnueabi g++-aarch64-linux-gnu
  qemu-user-static"
arm_bench_packages="$arm_packages qemu-user"
test_packages="$demo_packages libgtest-dev libgmock-dev alsa-utils binutils ccache chromium chromium-driver clang-format
  clang-tidy doxygen fbcat fbset fdisk file fonts-dejavu-core i2c-tools iproute2 jq libjpeg-turbo-progs
  libsox-fmt-alsa libxml2-utils mpg123 netpbm pkg-config procps python3 python3-selenium"
vm_packages="debian-archive-keyring gcc make libelf1 python3-minimal qemu-system-x86 busybox-static dosfstools fdisk
  mtools alsa-utils mtd-utils"
vm_arm_packages="gcc-arm-linux-gnueabihf qemu-system-arm"
bench_packages="$library_packages libboost-dev pkg-config libbenchmark-dev libpixman-1-dev libsdl2-dev libsdl2-gfx-dev
  libagg-dev libturbojpeg0-dev libdeflate-dev libpng-dev zlib1g-dev lame sox fonts-liberation fonts-droid-fallback"
live_bench_packages="$test_packages"
fuzz_packages="$library_packages libboost-dev libpng-dev clang libclang-rt-14-dev"
