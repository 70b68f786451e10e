#pragma once

// This header moved to "korvane/values/error.h"; this path forwards to it for one release.
#include "korvane/values/error.h"
