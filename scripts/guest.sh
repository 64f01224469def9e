# A minimal Debian in a directory, and commands run in it: in namespaces of their own, without the host's devices and
# mounts and without the rights to reboot, set the clock or load modules. Requires root. Sourced after lib.sh.

# prepare_guest NAME: for the guest $guest in $directory (default: build/NAME), which is removed at the end; logs are in
# $logs. Fails if the directory is not one for guests.
prepare_guest() {
  [ "$(id -u)" -eq 0 ] || fail "requires root, to make a root file system"
  directory=${directory:-$root/build/$1}
  logs=$root/build/$1-logs
  case $directory in
  "$root/build/"*) ;;
  "$root" | "$root"/*) fail "$directory: must be below build/ or outside the checkout" ;;
  esac
  guest=$directory/root
  [ ! -e "$directory" ] || [ -e "$directory/.libdravik-bare" ] || fail "$directory: exists, and was not made by this script"
  need_build_directory "$1"
  need_packages mmdebstrap debian-archive-keyring util-linux
  trap remove_guest EXIT
  trap 'exit 130' INT TERM
  remove_guest
  rm -rf "$logs"
  mkdir -p "$guest" "$logs"
  : >"$directory/.libdravik-bare"
}

# Mounts below the directory exist only in the namespaces, which have ended by then.
remove_guest() { rm -rf --one-file-system "$directory"; }

# private COMMAND...: runs a command in namespaces of its own; its mounts and processes end with it.
private() { unshare --mount --propagation private --pid --fork --kill-child --uts --ipc -- "$@" 9>&-; }

make_guest() {
  apt_network_settings >"$directory/apt.conf"
  private mmdebstrap --quiet --mode=root --variant=minbase --components=main --aptopt="$directory/apt.conf" \
    "$(debian_release)" "$guest" "$(debian_mirror)" >"$logs/debian.log" 2>&1 ||
    { tail -n 20 "$logs/debian.log" >&2 && fail "cannot make a minimal Debian; the log is $logs/debian.log"; }
  for file in hosts resolv.conf; do cp -L "/etc/$file" "$guest/etc/$file"; done
  chroot "$guest" useradd --create-home --shell /bin/sh user
  chmod 0700 "$guest/root" "$guest/home/user"
}

# Creates the devices and mounts of the guest and enters it. The guest's root must not reach the host's kernel through
# devices, /proc or /sys.
enter='
  guest=$1
  shift
  mount -t proc -o nosuid,nodev,noexec proc "$guest/proc"
  for entry in sys sysrq-trigger; do
    [ -e "$guest/proc/$entry" ] || continue
    mount --bind "$guest/proc/$entry" "$guest/proc/$entry"
    mount -o remount,bind,ro "$guest/proc/$entry"
  done
  mount -t sysfs -o ro,nosuid,nodev,noexec sysfs "$guest/sys"
  mount -t tmpfs -o nosuid,mode=755 dev "$guest/dev"
  while read -r name major minor; do
    mknod -m 666 "$guest/dev/$name" c "$major" "$minor"
  done <<NODES
null 1 3
zero 1 5
full 1 7
random 1 8
urandom 1 9
tty 5 0
NODES
  mkdir "$guest/dev/pts" "$guest/dev/shm"
  mount -t devpts -o newinstance,gid=5,mode=620,ptmxmode=666 devpts "$guest/dev/pts"
  mount -t tmpfs -o nosuid,nodev,mode=1777 shm "$guest/dev/shm"
  ln -s pts/ptmx "$guest/dev/ptmx"
  ln -s /proc/self/fd "$guest/dev/fd"
  for stream in 0:stdin 1:stdout 2:stderr; do ln -s "/proc/self/fd/${stream%:*}" "$guest/dev/${stream#*:}"; done
  chroot "$guest" setpriv --bounding-set -sys_boot,-sys_time,-sys_module,-sys_rawio,-syslog,-mknod -- "$@"
'

# in_guest USER COMMAND: runs a command line in the user's directory $work.
in_guest() {
  private sh -euc "$enter" sh "$guest" env -i PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 \
    ${http_proxy:+"http_proxy=$http_proxy"} ${https_proxy:+"https_proxy=$https_proxy"} \
    su "$1" -c "cd ~/$work && $2" </dev/null
}

# try EXPECTED-STATUS USER TITLE [COMMAND]: runs a command (default: the title); prints output, exit status and time.
failures=0
try() {
  echo "== $2: $3"
  start=$(date +%s)
  { in_guest "$2" "${4:-$3}" 2>&1 && echo 0 >"$directory/status" || echo $? >"$directory/status"; } | tee -a "$logs/$2.log"
  status=$(cat "$directory/status")
  seconds=$(($(date +%s) - start))
  verdict="exit status $status after $(minutes $seconds)"
  [ "$status" -eq "$1" ] || { failures=$((failures + 1)) && verdict="$verdict, but $1 was expected"; }
  echo "== $2: $3: $verdict" | tee -a "$logs/summary"
  echo
}
