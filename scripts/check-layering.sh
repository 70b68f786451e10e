#!/usr/bin/env bash
# Nothing below the facade (src/sdk) looks the facade up: the offerwall, the placements, telemetry
# and the helpers get what they need from the context they are made with. Given the core library
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

if [[ -n $core ]]; then
  if needs=$(nm -C --undefined-only "$core" | grep -E 'korvane::(KorvaneSdk|FacadeAccess)::'); then
    echo "$(basename "$core") needs the facade to link:"
    echo "$needs" | sort -u
    status=1
  fi
fi
exit "$status"
