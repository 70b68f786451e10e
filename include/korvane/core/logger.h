#pragma once

// This header moved to "korvane/util/logger.h"; this path forwards to it for one release.
#include "korvane/util/logger.h"
