# What the project's scripts share. Source it from a script in this folder.

set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
jobs=$(nproc)

# need_packages NAME...: installs the Debian packages among these that are missing.
need_packages() {
  missing=
  for package in "$@"; do
    dpkg-query -W -f '${Status}\n' "$package" 2>/dev/null | grep -q '^install ok installed' || missing="$missing $package"
  done
  [ -z "$missing" ] && return 0
  sudo=
  [ "$(id -u)" -eq 0 ] || sudo=sudo
  echo "installing:$missing"
  $sudo apt-get -qq update
  DEBIAN_FRONTEND=noninteractive $sudo apt-get -qq install -y --no-install-recommends $missing >/dev/null
}

library_packages="g++ cmake make libjpeg62-turbo-dev libasound2-dev libmad0-dev libfreetype-dev"
