#!/usr/bin/env bash
# Reads from a built shared library, and from the commands that compiled it, that it is hardened.
#   check_hardening.sh READELF LIBRARY COMPILE_COMMANDS
# SPDX-License-Identifier: Apache-2.0
set -euo pipefail
readelf=$1 library=$2 commands=$3
failed=0

# expect WHAT PATTERN TEXT, and the contrary
expect() { grep -Eq -- "$2" <<<"$3" || { echo "missing: $1" && failed=1; }; }
refuse() { ! grep -Eq -- "$2" <<<"$3" || { echo "found: $1" && failed=1; }; }

segments=$("$readelf" --wide --program-headers "$library")
dynamic=$("$readelf" --wide --dynamic "$library")
symbols=$("$readelf" --wide --dyn-syms "$library")

expect "relocations that become read-only" 'GNU_RELRO' "$segments"
expect "all symbols bound at load" 'BIND_NOW|FLAGS.*NOW' "$dynamic"
expect "a stack segment that is not executable" 'GNU_STACK .* RW +0x' "$segments"
refuse "a segment that is writable and executable" ' RWE ' "$segments"
refuse "a search path for libraries" 'RPATH|RUNPATH' "$dynamic"
refuse "relocations in code" 'TEXTREL' "$dynamic"
expect "the stack guard" '__stack_chk_fail' "$symbols"

# No call that the library makes has a fortified counterpart whose length is not known, so the symbol table cannot tell.
sources=$(grep '"command"' "$commands" | grep 'velmora_shaper_trajectory_objects.dir')
expect "fortified sources" '-D_FORTIFY_SOURCE=2' "$sources"
refuse "sources that are not fortified" '"command"' "$(grep -v -- '-D_FORTIFY_SOURCE=2' <<<"$sources" || true)"
exit $failed
