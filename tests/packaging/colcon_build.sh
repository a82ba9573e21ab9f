#!/usr/bin/env bash
# Builds the library in a robot workspace of its own with colcon, and uses the copy that the workspace installs.
#   colcon_build.sh SOURCE_DIR WORKSPACE CONSUMER COMPILER
# SPDX-License-Identifier: Apache-2.0
set -euo pipefail
source_dir=$1 workspace=$2 consumer=$3 compiler=$4
name=velmora_shaper_trajectory
for package in colcon python3-colcon-ros; do
  status=$(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null || true)
  [ "$status" = installed ] || { echo "skipped: the Debian package $package is not installed" && exit 0; }
done

rm -rf "$workspace"
mkdir -p "$workspace/src/$name"
# A copy without the build folders, in which colcon would look for packages.
tar -C "$source_dir" --exclude=./build --exclude=./.git -cf - . | tar -C "$workspace/src/$name" -xf -
cd "$workspace"
CXX=$compiler colcon build --merge-install --event-handlers console_direct+ \
  --cmake-args -G Ninja -DCMAKE_BUILD_TYPE=Release

# colcon writes the dependencies of a package here, and knows this one's from nothing but package.xml.
grep -qx eigen "install/share/colcon-core/packages/$name" || { echo "package.xml was not read" && exit 1; }
library_dir=$(dirname "$(find "$PWD/install" -name "lib$name.so")")
"$compiler" -std=c++17 -isystem /usr/include/eigen3 -Iinstall/include "$consumer" -o consumer -L"$library_dir" "-l$name"
LD_LIBRARY_PATH=$library_dir ./consumer
