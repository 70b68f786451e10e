#pragma once

// This header moved to "korvane/backend/device_utils.h"; this path forwards to it for one release.
#include "korvane/backend/device_utils.h"
