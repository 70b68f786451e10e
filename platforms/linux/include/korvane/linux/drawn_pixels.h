#pragma once

#include <cstddef>
#include <cstdint>

namespace korvane::linux_host {

// Whether a picture of a window shows anything: false when every pixel has the same colour, as
// a window does before its page first paints. Rows are `rowStride` bytes apart, `channels` bytes
// a pixel; padding at the end of a row is ignored.
bool showsContent(const std::uint8_t* pixels, int width, int height, std::size_t rowStride,
                  int channels);

}  // namespace korvane::linux_host
