#pragma once

// This header moved to "korvane/values/sdk_config.h"; this path forwards to it for one release.
#include "korvane/values/sdk_config.h"
