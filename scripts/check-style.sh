#!/usr/bin/env bash
# Checks the tree's formatting without changing it: clang-format 19 on C++, Objective-C and
# Objective-C++, swift-format lint on Swift (skipped with a line when no swift-format is found),
# black on Python and shellcheck on shell scripts. Given paths, checks only those files.
# `scripts/check-style.sh --fix` formats instead of checking (shellcheck has no fixer).
set -uo pipefail
cd "$(dirname "$0")/.." || exit 2

fix=0
if [[ ${1:-} == --fix ]]; then
  fix=1
  shift
fi
if (($# > 0)); then
  files=("$@")
else
  mapfile -t files < <(git ls-files)
fi

c_files=() swift_files=() py_files=() sh_files=()
for file in "${files[@]}"; do
  case "$file" in
    *.c | *.cpp | *.h | *.m | *.mm) c_files+=("$file") ;;
    *.swift) swift_files+=("$file") ;;
    *.py) py_files+=("$file") ;;
    *.sh | .ci/run) sh_files+=("$file") ;;
  esac
done

failed=0
tool() { command -v "$1" >/dev/null || { echo "check-style: $1 is not installed" >&2; exit 2; }; }

if ((${#c_files[@]})); then
  tool clang-format-19
  if ((fix)); then
    clang-format-19 --style=file -i "${c_files[@]}"
  elif ! clang-format-19 --style=file --dry-run -Werror "${c_files[@]}"; then
    echo "check-style: clang-format-19 would change the files above" >&2
    failed=1
  fi
fi

if ((${#swift_files[@]})); then
  swift_format=$(command -v swift-format || true)
  [[ -z "$swift_format" && -x /opt/swift/usr/bin/swift-format ]] && swift_format=/opt/swift/usr/bin/swift-format
  if [[ -z "$swift_format" ]]; then
    echo "check-style: swift-format not found; Swift files not checked"
  elif ((fix)); then
    "$swift_format" format -i "${swift_files[@]}"
  elif ! "$swift_format" lint --strict "${swift_files[@]}"; then
    echo "check-style: swift-format lint found the problems above" >&2
    failed=1
  fi
fi

if ((${#py_files[@]})); then
  tool black
  if ((fix)); then
    black --config pyproject.toml --quiet "${py_files[@]}"
  elif ! black --config pyproject.toml --check --quiet "${py_files[@]}"; then
    echo "check-style: black would reformat the files above" >&2
    failed=1
  fi
fi

if ((${#sh_files[@]})); then
  tool shellcheck
  if ! shellcheck "${sh_files[@]}"; then
    echo "check-style: shellcheck found the problems above" >&2
    failed=1
  fi
fi

if ((failed == 0)); then echo "Style: ${#files[@]} files checked, all as formatted."; fi
exit "$failed"
