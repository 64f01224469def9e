#!/bin/sh
# Makes the package of the next release of its own contents: next_release.sh PACKAGE NEXT-PACKAGE
set -eu
unpacked=$2.d
dpkg-deb -R "$1" "$unpacked"
sed -i 's/0\.1\.0-1/0.1.0-2/' "$unpacked/DEBIAN/control"
dpkg-deb --root-owner-group -Znone -b "$unpacked" "$2"
rm -rf "$unpacked"
