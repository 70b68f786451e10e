#pragma once

// This header moved to "korvane/sdk/korvane_sdk.h"; this path forwards to it for one release.
#include "korvane/sdk/korvane_sdk.h"
