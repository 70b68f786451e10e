#pragma once

#include "context/sdk_context.h"
#include "korvane/platform/reachability.h"
#include "korvane/values/sdk_readiness.h"

namespace korvane::offerwall {

// Whether an offerwall could be shown now, and if not the first reason in the order the
// reasons are declared. `reachability` may be null (a platform that cannot tell): then the
// network is taken to be there.
OfferwallAvailability availability(const SessionFacts& session, const Reachability* reachability);

}  // namespace korvane::offerwall
