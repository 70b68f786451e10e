#pragma once

// This header moved to "korvane/util/text.h"; this path forwards to it for one release.
#include "korvane/util/text.h"
