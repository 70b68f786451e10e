#!/usr/bin/env bash
# scripts/check-layering.sh passes the tree as it is and fails a copy with the facade looked up
# below src/sdk, and a core library that needs the facade to link. Copies live in a temporary
# folder, so the tree is never touched.
#   usage: check_layering_test.sh ROOT CORE_LIBRARY   (CXX names the compiler)
set -euo pipefail
root=${1:?}
core=${2:?}
check="$root/scripts/check-layering.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

expect() {  # expect pass|fail DESCRIPTION ARGS...
  local want=$1 what=$2
  shift 2
  if bash "$check" "$@" >"$work/out" 2>&1; then got=pass; else got=fail; fi
  if [[ $got != "$want" ]]; then
    echo "FAILED: $what: expected $want, got $got"
    cat "$work/out"
    failures=$((failures + 1))
  else
    echo "ok: $what"
  fi
}

expect pass "the tree as it is" "$root/src" "$core"

# One line added to a copy of the tree, in each folder that must not reach the facade, and in the
# facade's own folder, where it may.
cases=(
  "fail|offerwall/page_host.cpp|void lookUp() { KorvaneSdk::shared().flushEvents(); }"
  "fail|placements/korvane_quiz.cpp|auto lookUp() { return SdkInternals::session(); }"
  "fail|telemetry/event.cpp|// KorvaneSdk::shared() in a comment still counts"
  "fail|util/logger.cpp|void lookUp() { KorvaneSdk::shared(); }"
  "pass|sdk/korvane_sdk.cpp|void lookUp() { KorvaneSdk::shared(); }"
)
for entry in "${cases[@]}"; do
  IFS='|' read -r want file line <<<"$entry"
  rm -rf "$work/src"
  cp -r "$root/src" "$work/src"
  echo "$line" >>"$work/src/$file"
  expect "$want" "$file with: $line" "$work/src"
done

# A core library with one object that calls the facade.
cat >"$work/reach.cpp" <<'CPP'
namespace korvane {
struct KorvaneSdk {
  static KorvaneSdk& shared();
};
}  // namespace korvane
void reach() { korvane::KorvaneSdk::shared(); }
CPP
"${CXX:-c++}" -c "$work/reach.cpp" -o "$work/reach.o"
cp "$core" "$work/libdamaged.a"
ar rs "$work/libdamaged.a" "$work/reach.o" 2>/dev/null
expect fail "a core library that calls KorvaneSdk::shared()" "$root/src" "$work/libdamaged.a"

exit $((failures > 0))
