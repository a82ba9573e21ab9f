#!/usr/bin/env bash
# Compiles, links and runs the consumer with nothing but what pkg-config says of an installed copy.
#   build_and_run.sh PREFIX FOLDER COMPILER [FLAG...]
# SPDX-License-Identifier: Apache-2.0
set -euo pipefail
prefix=$1 folder=$2 compiler=$3
shift 3
package=velmora_input_shaping
pc_file=$(find "$prefix" -name "$package.pc")
export PKG_CONFIG_PATH=${pc_file%/*}:${PKG_CONFIG_PATH:-}

read -ra cflags <<<"$(pkg-config --cflags $package)"
read -ra libs <<<"$(pkg-config --libs $package)"
mkdir -p "$folder"
"$compiler" -std=c++17 "$@" "${cflags[@]}" "$(dirname "$0")/main.cpp" -o "$folder/consumer" "${libs[@]}"
LD_LIBRARY_PATH=$(pkg-config --variable=libdir $package):${LD_LIBRARY_PATH:-} "$folder/consumer"
