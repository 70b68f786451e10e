#pragma once

// This header moved to "korvane/backend/api_service.h"; this path forwards to it for one release.
#include "korvane/backend/api_service.h"
