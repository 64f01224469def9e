# The builds of what is in the packages, one per architecture, in build/package-ARCHITECTURE. scripts/docs draws with
# them and scripts/abi compares their libraries, so that each program is built once. Sourced after lib.sh.

package_architectures='amd64 armhf armel'

# is_for_arm ARCHITECTURE
is_for_arm() { [ "$1" = armhf ] || [ "$1" = armel ]; }

# build_for_package ARCHITECTURE TARGET...: for ARM after fetch_sysroots.
build_for_package() {
  build=$root/build/package-$1
  architecture=$1
  shift
  set -- --build "$build" -j "$jobs" --target "$@"
  configure_for_package -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
    -DCMAKE_INSTALL_DOCDIR=share/doc/libdravik -DCMAKE_SKIP_INSTALL_RPATH=ON -DDRAVIK_EXAMPLES=OFF -DDRAVIK_TESTS=OFF \
    -DDRAVIK_DEBUG_INFORMATION=ON && cmake "$@"
}

# configure_for_package ARGUMENT...: for $architecture.
configure_for_package() {
  case $architecture in
  amd64) cmake "$@" -DDRAVIK_SIM=ON -DDRAVIK_TOOLS=ON ;;
  armhf) configure_for_arm arm-linux-gnueabihf "$@" ;;
  armel) configure_for_arm arm-linux-gnueabi "$@" ;;
  esac
}

# fetch_sysroots ARCHITECTURE...: starts to download what is missing to build for ARM, while the first build runs.
fetch_sysroots() {
  for architecture in "$@"; do
    if is_for_arm "$architecture"; then "$root/scripts/arm-sysroot" "$architecture" || exit; fi
  done >"$root/build/sysroots.log" 2>&1 &
  fetching=$!
}

# configure_for_arm TRIPLET ARGUMENT...
configure_for_arm() {
  triplet=$1
  shift
  [ -z "$fetching" ] || wait "$fetching" || { tail -n 20 "$root/build/sysroots.log" && return 1; }
  fetching=
  cmake "$@" -DCMAKE_TOOLCHAIN_FILE="$root/cmake/cross.cmake" -DDRAVIK_TRIPLET="$triplet" \
    -DDRAVIK_SYSROOT="$root/build/sysroot-$architecture" -DCMAKE_INSTALL_LIBDIR="lib/$triplet"
}
