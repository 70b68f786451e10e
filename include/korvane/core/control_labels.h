#pragma once

// This header moved to "korvane/util/control_labels.h"; this path forwards to it for one release.
#include "korvane/util/control_labels.h"
