#include "gunzip.h"

#include <zlib.h>

namespace korvane::testing {

std::optional<std::string> gunzip(std::string_view data) {
  z_stream stream{};
  // 15 window bits, +16: a gzip header and trailer rather than zlib's.
  if (inflateInit2(&stream, 15 + 16) != Z_OK) return std::nullopt;
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
  stream.avail_in = static_cast<uInt>(data.size());
  std::string out;
  char buffer[16384];
  int status = Z_OK;
  while (status == Z_OK) {
    stream.next_out = reinterpret_cast<Bytef*>(buffer);
    stream.avail_out = sizeof buffer;
    status = inflate(&stream, Z_NO_FLUSH);
    out.append(buffer, sizeof buffer - stream.avail_out);
    if (status == Z_BUF_ERROR && stream.avail_in == 0) break;
  }
  const bool complete = status == Z_STREAM_END && stream.avail_in == 0;
  inflateEnd(&stream);
  if (!complete) return std::nullopt;
  return out;
}

}  // namespace korvane::testing
