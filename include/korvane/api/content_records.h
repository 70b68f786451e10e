#pragma once

// This header moved to "korvane/backend/content_records.h"; this path forwards to it for one
// release.
#include "korvane/backend/content_records.h"
