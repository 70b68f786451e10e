#pragma once

namespace korvane::ios {

// From now on the SDK's log lines go to the unified log under the subsystem "com.korvane.sdk".
void sendLogLinesToTheUnifiedLog();

}  // namespace korvane::ios
