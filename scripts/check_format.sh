#!/usr/bin/env bash
# Fails when a C++ file of the tree is not in the house style of .clang-format, and says which.
# `scripts/check_format.sh --fix` formats them in place.
set -euo pipefail
cd "$(dirname "$0")/.."

mapfile -t files < <(git ls-files '*.h' '*.cpp')
if [ "${1:-}" = "--fix" ]; then
  clang-format -i "${files[@]}"
  exit 0
fi
unformatted=()
for file in "${files[@]}"; do
  if ! clang-format --dry-run --Werror "$file" >/dev/null 2>&1; then
    unformatted+=("$file")
  fi
done
if [ ${#unformatted[@]} -ne 0 ]; then
  echo "Not in the house style (run scripts/check_format.sh --fix):"
  printf '  %s\n' "${unformatted[@]}"
  exit 1
fi
