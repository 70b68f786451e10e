#pragma once

// This header moved to "korvane/backend/app_records.h"; this path forwards to it for one release.
#include "korvane/backend/app_records.h"
