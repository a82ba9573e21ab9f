#!/usr/bin/env bash
# Compiles a file under an older standard than the headers need: the sentence must come first and all but alone.
#   refuses_older_standard.sh COMPILER FLAG... FILE
# SPDX-License-Identifier: Apache-2.0
set -euo pipefail
if output=$("$@" -fsyntax-only 2>&1); then
  echo "compiled under an older standard"
  exit 1
fi
errors=$(grep 'error:' <<<"$output")
head -n 1 <<<"$errors" | grep 'velmora needs C++17: compile this file with -std=c++17 or a later standard\.'
# The second one is the file that is missing on purpose.
[ "$(wc -l <<<"$errors")" -le 2 ] || { echo "the sentence is buried:" && echo "$output" && exit 1; }
