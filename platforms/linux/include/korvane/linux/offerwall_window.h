#pragma once

namespace korvane::linux_host {

// The offerwall's phone-shaped window on a desktop. GTK sizes windows in logical pixels, which
// are the CSS pixels WebKitGTK lays pages out with: this is the screen in points.
inline constexpr int kOfferwallWindowWidth = 414;
inline constexpr int kOfferwallWindowHeight = 800;

}  // namespace korvane::linux_host
