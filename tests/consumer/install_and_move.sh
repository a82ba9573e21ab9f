#!/usr/bin/env bash
# Installs a build tree, moves the copy as binary packages are moved, and looks for paths that were baked in.
#   install_and_move.sh CMAKE BUILD_DIR MOVED_TO
# SPDX-License-Identifier: Apache-2.0
set -euo pipefail
cmake=$1 build_dir=$2 moved_to=$3
installed_at=$moved_to.first
rm -rf "$installed_at" "$moved_to"
"$cmake" --install "$build_dir" --prefix "$installed_at" >/dev/null
mv "$installed_at" "$moved_to"
! grep -rFI -e "$installed_at" -e "$build_dir" "$moved_to" || { echo "an installed file names a folder of the build" && exit 1; }
