#pragma once

// This header moved to "korvane/util/json_object_builder.h"; this path forwards to it for one
// release.
#include "korvane/util/json_object_builder.h"
