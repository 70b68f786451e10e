#include "backend/gzip.h"

#include <zlib.h>

#include <memory>

namespace korvane {
namespace {

Error gzipError(long code, const std::string& text) {
  return Error{"GzipError", code, text + std::to_string(code), "GzipError"};
}

constexpr std::size_t kChunk = 16384;
constexpr int kGzipWindowBits = 15 + 16;  // 32 KiB window, gzip wrapper instead of zlib's

}  // namespace

Error gzipInitializationFailed(int code) {
  return gzipError(code, "GZIP initialization failed with code: ");
}
Error gzipCompressionFailed(int code) {
  return gzipError(code, "GZIP compression failed with code: ");
}
Error gzipDecompressionFailed(int code) {
  return gzipError(code, "GZIP decompression failed with code: ");
}

Result<std::string> gzip(std::string_view data) {
  if (data.empty()) return std::string();
  z_stream stream{};
  const int init =
      deflateInit2_(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzipWindowBits, 8,
                    Z_DEFAULT_STRATEGY, ZLIB_VERSION, static_cast<int>(sizeof(z_stream)));
  if (init != Z_OK) return gzipInitializationFailed(init);
  // The whole input is handed over at once.
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
  stream.avail_in = static_cast<uInt>(data.size());

  std::string result;
  const auto buffer = std::make_unique<unsigned char[]>(kChunk);
  int status = Z_OK;
  do {
    stream.next_out = buffer.get();
    stream.avail_out = kChunk;
    status = deflate(&stream, Z_FINISH);
    // Z_BUF_ERROR only says no progress was possible this round; it is not a failure.
    if (status != Z_OK && status != Z_STREAM_END && status != Z_BUF_ERROR) {
      deflateEnd(&stream);
      return gzipCompressionFailed(status);
    }
    const std::size_t produced = kChunk - stream.avail_out;
    if (produced == 0) break;
    result.append(reinterpret_cast<const char*>(buffer.get()), produced);
  } while (status != Z_STREAM_END && stream.avail_out == 0);
  deflateEnd(&stream);
  return result;
}

}  // namespace korvane
