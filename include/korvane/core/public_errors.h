#pragma once

// This header moved to "korvane/values/public_errors.h"; this path forwards to it for one release.
#include "korvane/values/public_errors.h"
