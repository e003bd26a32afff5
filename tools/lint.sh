#!/usr/bin/env bash
# Checks the C++ files that changed since the last commit that passed: clang-format and clang-tidy.
# Needs a configured build folder, where it also keeps the hash of the commit that passed. Without
# one, it checks the last commit and the working tree. ./check calls it; clang-tidy then skips a change
# of more than a few files, which takes many minutes. "tools/lint.sh --all" checks that, too.
set -euo pipefail
cd "$(dirname "$0")/.."

build=build/release
passed_file=$build/lint-passed
# Another version formats differently.
format_version=14
# About a minute's work.
most_files=12

# The files, one a line, that differ from a commit or are new.
changed_since() {
  { git diff --name-only --diff-filter=d "$1" -- '*.h' '*.cpp'
    git ls-files --others --exclude-standard -- '*.h' '*.cpp'; } | sort -u
}

base() {
  local passed
  if passed=$(cat "$passed_file" 2>/dev/null) && git merge-base --is-ancestor "$passed" HEAD; then
    echo "$passed"
  else
    git rev-parse --verify --quiet HEAD~1 || git hash-object -t tree /dev/null
  fi
}

# Of the files on standard input, those that clang-tidy can check: sources that this build compiles
# and headers. A header is checked with the flags of a source beside it.
checkable() {
  while IFS= read -r file; do
    [[ $file == *.h ]] || grep -q -F "\"$PWD/$file\"" $build/compile_commands.json || continue
    [[ $file == src/win* || $file == tests/windows/* ]] || echo "$file"
  done
}

check_format() {
  if ! clang-format --version | grep -q "version $format_version\."; then
    echo "lint: format not checked: clang-format $format_version is not installed" >&2
    return
  fi
  xargs -r -d '\n' clang-format --dry-run --Werror --
}

check_lint() {
  checkable | xargs -r -d '\n' -n 1 -P "$(nproc)" clang-tidy -p $build --quiet \
    --warnings-as-errors='*' --extra-arg=-Wno-unknown-warning-option
}

changed=$(changed_since "$(base)")
[ -n "$changed" ] || exit 0
echo "lint: checking $(wc -l <<<"$changed") changed files" >&2
check_format <<<"$changed"
if [ "${1-}" != --all ] && [ "$(wc -l <<<"$changed")" -gt $most_files ]; then
  echo "lint: too many files for clang-tidy here; run tools/lint.sh --all" >&2
  exit 0
fi
check_lint <<<"$changed" 2> >(grep -v 'warnings generated\|^Suppressed\|^Use -header-filter' >&2)
[ -n "$(git status --porcelain)" ] || git rev-parse HEAD >$passed_file
