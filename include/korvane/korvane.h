#pragma once

// KorvaneSDK's C++ API: include this one header.
#include "korvane/api/content_records.h"
#include "korvane/api/content_records_json.h"
#include "korvane/core/error.h"
#include "korvane/core/json_value.h"
#include "korvane/core/korvane_sdk.h"
#include "korvane/core/logger.h"
#include "korvane/core/public_errors.h"
#include "korvane/core/sdk_config.h"
#include "korvane/core/sdk_user.h"
#include "korvane/offerwall/offerwall_callback.h"
#include "korvane/offerwall/offerwall_view.h"
#include "korvane/offerwall/offerwall_view_controller.h"
#include "korvane/placements/korvane_banner.h"
#include "korvane/placements/korvane_mission.h"
#include "korvane/placements/korvane_quiz.h"
#include "korvane/version.h"
