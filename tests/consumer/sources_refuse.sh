#!/usr/bin/env bash
# Preprocesses every source of the library that computes or checks numbers under a flag that must not be there.
#   sources_refuse.sh SOURCE_FOLDER COMPILER FLAG...
# SPDX-License-Identifier: Apache-2.0
set -euo pipefail
source_folder=$1
shift
# These hold no arithmetic: calls of others, a throw, an allocation, a tag, a choice of names, a dispatch.
without_arithmetic=(control/shaper/tail_blend.cpp internal/throw_invalid_argument.cpp internal/unwritten_matrix.cpp
  native/eigen_abi.cpp util/timing/cubic_resampling.cpp util/timing/resampling.cpp util/timing/resampling_options.cpp
  util/timing/trajectory_sizes.cpp)
failed=0
count=0
while read -r source; do
  case " ${without_arithmetic[*]} " in *" $source "*) continue ;; esac
  count=$((count + 1))
  if output=$("$@" -E "$source_folder/$source" 2>&1 >/dev/null) || ! grep -q 'velmora promises results' <<<"$output"; then
    echo "not refused: $source"
    failed=1
  fi
done < <(cd "$source_folder" && find . -name '*.cpp' | sed 's,^\./,,' | sort)
[ "$count" -ge 10 ] || { echo "only $count sources found in $source_folder" && exit 1; }
exit $failed
