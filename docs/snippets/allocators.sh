# Runs a program with the allocators of the page: as it starts, with glibc's settings, and with two others in its place.
# SPDX-License-Identifier: Apache-2.0
program=$1
# [outside]
GLIBC_TUNABLES=glibc.malloc.mmap_threshold=33554432:glibc.malloc.trim_threshold=1073741824 $program
# [outside]
# [other]
LD_PRELOAD=libmimalloc.so.2 $program
LD_PRELOAD=libjemalloc.so.2 $program
# [other]
$program
$program keep
