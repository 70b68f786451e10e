#pragma once

// This header moved to "korvane/platform/sdk_defaults.h"; this path forwards to it for one release.
#include "korvane/platform/sdk_defaults.h"
