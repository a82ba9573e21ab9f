#!/usr/bin/env bash
# Builds and runs the consumer with pkg-config alone: PREFIX LIBDIR FOLDER COMPILER [FLAG...], LIBDIR as below PREFIX.
set -euo pipefail
prefix=$1 libdir=$2 folder=$3 compiler=$4
shift 4

export PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig
package=velmora_shaper_trajectory
read -ra cflags <<<"$(pkg-config --cflags $package)"
read -ra libs <<<"$(pkg-config --libs $package)"
[[ " ${cflags[*]} " == *" -I$(realpath "$prefix")/"* ]] || {
  echo "pkg-config does not point into $prefix: ${cflags[*]}" >&2
  exit 1
}
mkdir -p "$folder"
"$compiler" -std=c++17 "$@" "${cflags[@]}" "$(dirname "$0")/../common/use_everything.cpp" -o "$folder/consumer" \
  "${libs[@]}"
LD_LIBRARY_PATH=$prefix/$libdir "$folder/consumer"
