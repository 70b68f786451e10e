#pragma once

#include <string>
#include <string_view>

namespace korvane::scrubber {

// The two masking rules of the logger, each a single left-to-right pass in linear time.
//
// Sensitive values: a credential-like key (case-insensitive, optionally quoted), ':' or '=' with
// optional white space around it, then an optionally quoted value; the value (up to a quote, white
// space, ',', '}', ']' or '&') becomes "***" and everything else stays.
// It behaves exactly as this regular expression with template "$1$2***$4", matched with Unicode
// properties and case folding; a malformed UTF-8 byte matches nothing:
//   (?i)(["']?(?:appKey|app_key|...|pwd|ifa)["']?\s*[:=]\s*)(["']?)([^"'\s,}\]&]+)(["']?)
std::string maskSensitiveValues(std::string_view text);

// E-mail addresses: [A-Za-z0-9._%+\-]+@[A-Za-z0-9.\-]+\.[A-Za-z]{2,} becomes "***".
std::string maskEmailAddresses(std::string_view text);

// Both rules, sensitive values first.
std::string scrub(std::string_view text);

// The credential-like key names, in the order the rule lists them, and "ifa", the name the
// backend's records and queries give the advertising identifier.
inline constexpr std::string_view kSensitiveKeys[] = {
    "appKey",      "app_key",       "appSecret",     "app_secret",
    "userId",      "user_id",       "advertisingId", "advertising_id",
    "idfa",        "authorization", "bearer",        "token",
    "accessToken", "access_token",  "refreshToken",  "refresh_token",
    "secret",      "password",      "passwd",        "pwd",
    "ifa"};

}  // namespace korvane::scrubber
