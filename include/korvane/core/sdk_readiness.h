#pragma once

// This header moved to "korvane/values/sdk_readiness.h"; this path forwards to it for one release.
#include "korvane/values/sdk_readiness.h"
