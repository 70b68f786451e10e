#pragma once

// KorvaneSDK's C++ API: include this one header.
#include "korvane/backend/content_records.h"
#include "korvane/backend/content_records_json.h"
#include "korvane/offerwall/offerwall_callback.h"
#include "korvane/offerwall/offerwall_view.h"
#include "korvane/offerwall/offerwall_view_controller.h"
#include "korvane/placements/korvane_banner.h"
#include "korvane/placements/korvane_mission.h"
#include "korvane/placements/korvane_quiz.h"
#include "korvane/sdk/korvane_sdk.h"
#include "korvane/util/json_value.h"
#include "korvane/util/logger.h"
#include "korvane/values/error.h"
#include "korvane/values/public_errors.h"
#include "korvane/values/sdk_config.h"
#include "korvane/values/sdk_user.h"
#include "korvane/version.h"
