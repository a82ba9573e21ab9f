# shellcheck shell=bash
# The steps of scripts/check-consumers, each of which prints a line; "work" is the folder with the installed copies.
# SPDX-License-Identifier: Apache-2.0
: "${work:?}"
failures=0
count=0

quietly() {
  if ! "$@" >"$work/log" 2>&1; then
    cat "$work/log"
    exit 1
  fi
}

# Whether the caller of the script wants the check with this line.
asked_for() { [[ $1 =~ ${pattern:?} ]]; }

passed() { echo "  ok       $1"; }

failed() {
  echo "  FAILED   $1"
  tail -n 30 "$2" | sed 's/^/    /'
  failures=$((failures + 1))
}

finish() {
  echo "check-consumers: $count programs, $failures failures"
  [ "$failures" -eq 0 ]
}

# Whether flags change how Eigen allocates, asked of Eigen itself and not of the library's header.
changes_eigen() {
  # shellcheck disable=SC2086 # several flags
  printf '#include <Eigen/Core>\nstatic_assert(EIGEN_MALLOC_ALREADY_ALIGNED == 0, "unchanged");\n' |
    "$1" -std=c++17 $2 -I /usr/include/eigen3 -fsyntax-only -x c++ - 2>/dev/null
}

this_machine_runs() {
  [[ $1 != *x86-64-v4* ]] || {
    local feature
    for feature in f bw cd dq vl; do grep -qw "avx512$feature" /proc/cpuinfo || return 1; done
  }
}

# Configures and builds the find_package consumer in a clean folder against an installed copy.
build_consumer() {
  local copy=$1
  shift
  count=$((count + 1))
  program=$work/program-$count
  log=$program.log
  cmake -S tests/consumer/find_package -B "$program" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_PREFIX_PATH="$work/$copy" "$@" >"$log" 2>&1 && cmake --build "$program" >>"$log" 2>&1
}

runs_clean() {
  local copy=$1 what="runs clean: $2"
  asked_for "$what" || return 0
  shift 2
  if build_consumer "$copy" "$@" && "$program/consumer" >>"$log" 2>&1; then passed "$what"; else failed "$what" "$log"; fi
}

builds() {
  local copy=$1 what="builds: $2"
  asked_for "$what" || return 0
  shift 2
  if build_consumer "$copy" "$@"; then passed "$what"; else failed "$what" "$log"; fi
}

# The compiler must stop it, with a message that names the setting and the cures.
is_refused() {
  local copy=$1 what="refused: $2" setting=$3
  asked_for "$what" || return 0
  shift 3
  if ! build_consumer "$copy" "$@" && grep -q "velmora_shaper_trajectory: .*($setting).*[Bb]uild the library" "$log"; then
    passed "$what"
  else
    failed "$what" "$log"
  fi
}

# A program that was linked with one copy and finds another one at run time.
is_not_loaded() {
  local what="not loaded: $1"
  asked_for "$what" || return 0
  if build_consumer "$2" && ! LD_LIBRARY_PATH="$work/$3/lib" "$program/consumer" >>"$log" 2>&1 &&
    grep -q 'undefined symbol:.*eigen_abi' "$log"; then
    passed "$what"
  else
    failed "$what" "$log"
  fi
}

# A program that is compiled with the headers of one copy and linked with the library of another.
is_not_linked() {
  local what="not linked: $1"
  asked_for "$what" || return 0
  count=$((count + 1))
  log=$work/program-$count.log
  if ! g++ -std=c++17 -O2 -I "$work/$2/include" -I /usr/include/eigen3 tests/consumer/common/use_everything.cpp \
    -o "$work/program-$count" "$work/$3/lib/libvelmora_shaper_trajectory.so" >"$log" 2>&1 &&
    grep -q 'undefined reference to .*eigen_abi' "$log"; then
    passed "$what"
  else
    failed "$what" "$log"
  fi
}

eigen_abi_cflags() {
  PKG_CONFIG_PATH=$work/$1/lib/pkgconfig pkg-config --variable=eigen_abi_cflags velmora_shaper_trajectory
}

runs_by_pkg_config() {
  local copy=$1 what="runs clean: $2"
  asked_for "$what" || return 0
  shift 2
  count=$((count + 1))
  log=$work/program-$count.log
  if tests/consumer/pkg_config/build_and_run.sh "$work/$copy" "$work/program-$count" "$@" >"$log" 2>&1; then
    passed "$what"
  else
    failed "$what" "$log"
  fi
}

# A project that is built with a flag that loosens arithmetic, and the library with it; always in the same folder, so
# that ccache knows what differs in nothing but the way in.
exact_under() {
  local what="exact under: $1 $2 by $3"
  asked_for "$what" || return 0
  count=$((count + 1))
  log=$work/program-$count.log
  if tests/consumer/loose_arithmetic/build_and_run.sh "$PWD" "$work/loose" "$1" "$2" "$3" shared static \
    >"$log" 2>&1; then
    passed "$what"
  else
    failed "$what" "$log"
  fi
}
