#!/usr/bin/env bash
# Nothing below the facade (src/sdk) looks the facade up or keeps process-wide state: the
# offerwall, the placements, telemetry and the helpers get what they need, the session's services
# among it, from the context they are made with. Given the core library
# (libkorvane_core.a), also checks that it needs nothing of the facade to link, so the core and a
# platform library never need each other.
#   usage: check-layering.sh SRC_DIR [CORE_LIBRARY]
set -euo pipefail
src=${1:?usage: check-layering.sh SRC_DIR [CORE_LIBRARY]}
core=${2:-}
status=0

if hits=$(grep -rnE 'KorvaneSdk::shared|SdkInternals' "$src" --include='*.h' --include='*.cpp' \
  --exclude-dir=sdk); then
  echo "The facade is looked up below src/sdk; hand what is needed down in the context instead:"
  echo "$hits"
  status=1
fi

# The services the session owns (the placement registry, error telemetry, the network manager)
# and the full-screen offerwall's shared callbacks are reached through the context. Their
# process-wide entry points, where the host's API has one, live in src/sdk and forward to the
# facade's session; below it they would outlive the session that an off switch or a new
# initialisation ends.
services='(PlacementRegistry|ErrorTelemetry|NetworkManager|KorvaneBanner)::shared'
slots='::(set)?(offerwallCallback|OfferwallCallback|hasFiredOnClosed|HasFiredOnClosed)\b|::activeSubControllers\b|Controller::(set)?(eventCallback|EventCallback)\b'
if hits=$(grep -rnE "$services|$slots" "$src" --include='*.h' --include='*.cpp' \
  --exclude-dir=sdk); then
  echo "A session's service is reached process-wide below src/sdk; take it from the context:"
  echo "$hits"
  status=1
fi

# State that outlives every session: a function-local static that is not constant, a static data
# member, or a NoDestructor. The logger alone is process-wide by design (util/logger.cpp).
statics='(^|[;{])[[:space:]]*static[[:space:]]+(inline[[:space:]]+)?(NoDestructor|std::(atomic|vector|map|unordered_map|function|shared_ptr|weak_ptr|optional|mutex)|[A-Z][A-Za-z0-9_]*(State|Slots?|Registry|Telemetry|Manager))\b[^(]*(;|\{|=)'
if hits=$(grep -rnE "$statics|NoDestructor<" "$src" --include='*.h' --include='*.cpp' \
  --exclude-dir=sdk | grep -vE '^[^:]*/util/(logger\.cpp|no_destructor\.h):'); then
  echo "State that outlives the session below src/sdk; let the session own it:"
  echo "$hits"
  status=1
fi

if [[ -n $core ]]; then
  if needs=$(nm -C --undefined-only "$core" | grep -E 'korvane::(KorvaneSdk|FacadeAccess)::'); then
    echo "$(basename "$core") needs the facade to link:"
    echo "$needs" | sort -u
    status=1
  fi
fi
exit "$status"
