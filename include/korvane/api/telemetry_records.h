#pragma once

// This header moved to "korvane/backend/telemetry_records.h"; this path forwards to it for one
// release.
#include "korvane/backend/telemetry_records.h"
