#pragma once

// This header moved to "korvane/util/executor.h"; this path forwards to it for one release.
#include "korvane/util/executor.h"
