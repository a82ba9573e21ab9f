#!/usr/bin/env bash
# Builds a project under a flag that loosens arithmetic, the library with it as a shared and as a static one, and compares
# what its programs see with what they see without the flag.
#   build_and_run.sh LIBRARY_SOURCE FOLDER COMPILER FLAG WAY KIND...
# WAY: "flags" (CMAKE_CXX_FLAGS), "options" (add_compile_options), "toolchain" (a toolchain file); KIND: shared, static
# SPDX-License-Identifier: Apache-2.0
set -euo pipefail
library=$1 folder=$2 compiler=$3 flag=$4 way=$5
shift 5
here=$(cd "$(dirname "$0")" && pwd)

rm -rf "$folder"
mkdir -p "$folder"
settings=(-DCMAKE_CXX_COMPILER="$compiler" -DVELMORA_SOURCE_DIR="$library")
case "$way" in
  # The last -O would undo -Ofast, so the kind of build has none.
  flags) settings+=("-DCMAKE_CXX_FLAGS=-O1 $flag") ;;
  options) settings+=("-DCMAKE_CXX_FLAGS=-O1" "-DLOOSE_OPTION=$flag") ;;
  toolchain)
    echo "set(CMAKE_CXX_FLAGS_INIT \"-O1 $flag\")" >"$folder/toolchain.cmake"
    settings+=("-DCMAKE_TOOLCHAIN_FILE=$folder/toolchain.cmake")
    ;;
  *) echo "unknown way: $way" && exit 2 ;;
esac

for kind in "$@"; do
  shared=OFF
  [ "$kind" = static ] || shared=ON
  cmake -S "$here" -B "$folder/build" -G Ninja "${settings[@]}" -DBUILD_SHARED_LIBS=$shared
  cmake --build "$folder/build"
  "$folder/build/consumer" | diff "$here/expected.txt" - || { echo "$kind: the caller sees other results" && exit 1; }
  "$folder/build/plain_consumer"
done
