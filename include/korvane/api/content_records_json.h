#pragma once

// This header moved to "korvane/backend/content_records_json.h"; this path forwards to it for one
// release.
#include "korvane/backend/content_records_json.h"
