#include "korvane/linux/drawn_pixels.h"

#include <cstring>

namespace korvane::linux_host {

bool showsContent(const std::uint8_t* pixels, int width, int height, std::size_t rowStride,
                  int channels) {
  if (!pixels || width <= 0 || height <= 0 || channels <= 0) return false;
  const std::size_t pixel = static_cast<std::size_t>(channels);
  for (int y = 0; y < height; ++y) {
    const std::uint8_t* row = pixels + static_cast<std::size_t>(y) * rowStride;
    for (int x = 0; x < width; ++x)
      if (std::memcmp(row + static_cast<std::size_t>(x) * pixel, pixels, pixel) != 0) return true;
  }
  return false;
}

}  // namespace korvane::linux_host
