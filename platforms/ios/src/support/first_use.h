#pragma once

namespace korvane::ios {

// What the framework sets up once, when the app first uses one of its classes (from their
// +initialize) rather than when it is loaded: its log lines go to the unified log, and errors of
// KorvaneAdErrorDomain describe themselves. Any thread, any number of times.
void prepareForFirstUse();

}  // namespace korvane::ios
