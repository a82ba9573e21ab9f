#!/usr/bin/env bash
# Compiles, links and runs the consumer with nothing but what pkg-config says of an installed copy.
#   build_and_run.sh PREFIX FOLDER COMPILER [FLAG...]
# SPDX-License-Identifier: Apache-2.0
set -euo pipefail
prefix=$1 folder=$2 compiler=$3
shift 3
package=velmora_shaper_trajectory
pc_file=$(find "$prefix" -name "$package.pc")
export PKG_CONFIG_PATH=${pc_file%/*}:${PKG_CONFIG_PATH:-}

[ "$(realpath "$(pkg-config --variable=includedir $package)")" = "$(realpath "$prefix/include")" ] || {
  echo "pkg-config points out of $prefix" >&2
  exit 1
}
pkg-config --print-requires $package | grep -qx "eigen3 >= 3.4" || {
  echo "pkg-config does not ask for Eigen 3.4: $(pkg-config --print-requires $package)" >&2
  exit 1
}
for definition in EIGEN_MAX_ALIGN_BYTES EIGEN_MALLOC_ALREADY_ALIGNED; do
  pkg-config --variable=eigen_abi_cflags $package | grep -Eq -- "(^| )-D$definition=[0-9]+( |$)" || {
    echo "eigen_abi_cflags lacks $definition" >&2
    exit 1
  }
done

read -ra cflags <<<"$(pkg-config --cflags $package)"
read -ra libs <<<"$(pkg-config --libs $package)"
mkdir -p "$folder"
"$compiler" -std=c++17 "$@" "${cflags[@]}" "$(dirname "$0")/../common/use_everything.cpp" -o "$folder/consumer" \
  "${libs[@]}"
LD_LIBRARY_PATH=$(pkg-config --variable=libdir $package):${LD_LIBRARY_PATH:-} "$folder/consumer"
