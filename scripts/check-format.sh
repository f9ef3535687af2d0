#!/usr/bin/env bash
# Fails when clang-format would change any tracked C++ file.
set -euo pipefail
cd "$(dirname "$0")/.."
mapfile -t files < <(git ls-files '*.cpp' '*.h' 2>/dev/null)
[ ${#files[@]} -eq 0 ] && exit 0
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! clang-format --dry-run -Werror "${files[@]}" 2>"$log"; then
  echo "clang-format would change these files:" >&2
  grep -oE '^[^ :]+\.(cpp|h):[0-9]+' "$log" | cut -d: -f1 | sort -u >&2
  exit 1
fi
