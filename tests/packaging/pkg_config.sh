#!/usr/bin/env bash
# Compiles, links and runs the consumer with nothing but what pkg-config says of an installed copy.
#   pkg_config.sh PREFIX SOURCE WORK_DIR VERSION COMPILER [FLAGS...]
set -euo pipefail
prefix=$1 source=$2 work_dir=$3 version=$4
shift 4
package=velmora_shaper_trajectory
pc_file=$(find "$prefix" -name "$package.pc")
export PKG_CONFIG_PATH=${pc_file%/*}
library_dir=$(pkg-config --variable=libdir "$package")

expect() { [ "$2" = "$3" ] || { echo "$1: '$2' and not '$3'" && exit 1; }; }
expect "version" "$(pkg-config --modversion "$package")" "$version"
expect "requires" "$(pkg-config --print-requires "$package")" "eigen3 >= 3.4"
expect "include folder" "$(realpath "$(pkg-config --variable=includedir "$package")")" "$(realpath "$prefix/include")"
for definition in EIGEN_MAX_ALIGN_BYTES EIGEN_MALLOC_ALREADY_ALIGNED; do
  grep -Eq -- "(^| )-D$definition=[0-9]+( |$)" <<<"$(pkg-config --variable=eigen_abi_cflags "$package")" ||
    { echo "eigen_abi_cflags lacks $definition" && exit 1; }
done

read -ra compile_flags <<<"$(pkg-config --cflags "$package")"
read -ra link_flags <<<"$(pkg-config --libs "$package")"
mkdir -p "$work_dir"
"$@" -std=c++17 "${compile_flags[@]}" "$source" -o "$work_dir/consumer" "${link_flags[@]}"
LD_LIBRARY_PATH=$library_dir "$work_dir/consumer"
