#!/usr/bin/env bash
# scripts/check-layering.sh passes the tree as it is and fails a copy with the facade looked up
# below src/sdk, a session's service or the offerwall's shared callbacks reached process-wide
# there, state kept in a static there, and a core library that needs the facade to link. Copies live in a temporary
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
  "fail|placements/korvane_mission.cpp|void join() { PlacementRegistry::shared()->liveMissions(); }"
  "fail|telemetry/event.cpp|void report() { ErrorTelemetry::shared().reportError(\"x\", nullptr, \"core\"); }"
  "fail|backend/api_service_impl.cpp|auto id() { return NetworkManager::shared().sessionId(); }"
  "fail|placements/korvane_banner.cpp|KorvaneBanner& KorvaneBanner::shared() { static KorvaneBanner b; return b; }"
  "fail|offerwall/offerwall_opening.cpp|void reset() { KorvaneOfferwallViewController::setHasFiredOnClosed(false); }"
  "fail|offerwall/page_host.cpp|void heard() { using C = KorvaneOfferwallViewController; (void)C::offerwallCallback(); }"
  "fail|offerwall/offerwall_view_controller.cpp|OfferwallSlots& typeWide() { static OfferwallSlots slots; return slots; }"
  "fail|placements/placement_registry.cpp|  static NoDestructor<std::shared_ptr<PlacementRegistry>> registry;"
  "fail|telemetry/error_telemetry.h|struct Switch { static inline std::atomic<bool> enabled{true}; };"
  "pass|offerwall/bridge_scripts.cpp|  static const std::string kept = \"constant text\";"
  "pass|sdk/host_entry_points.cpp|void forward() { KorvaneOfferwallViewController::setHasFiredOnClosed(false); }"
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
