#include "backend/gzip.h"

#include <zlib.h>

namespace korvane {
namespace {

Error gzipError(long code, const std::string& text) {
  return Error{"GzipError", code, text + std::to_string(code), "GzipError"};
}

constexpr int kGzipWindowBits = 15 + 16;  // 32 KiB window, gzip wrapper instead of zlib's
constexpr int kMemoryLevel = 8;

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

// One zlib deflate state. It stays where it was made: zlib keeps a pointer back to it.
class DeflateStream {
 public:
  static Result<std::unique_ptr<DeflateStream>> open() {
    auto opened = std::make_unique<DeflateStream>();
    // The library's own version: zlib checks only its first character, and the stream is the
    // same whichever 1.x made it.
    const int init = deflateInit2_(&opened->stream_, Z_DEFAULT_COMPRESSION, Z_DEFLATED,
                                   kGzipWindowBits, kMemoryLevel, Z_DEFAULT_STRATEGY, ZLIB_VERSION,
                                   static_cast<int>(sizeof(z_stream)));
    if (init != Z_OK) return gzipInitializationFailed(init);
    opened->initialized_ = true;
    return opened;
  }
  DeflateStream() = default;
  DeflateStream(const DeflateStream&) = delete;
  DeflateStream& operator=(const DeflateStream&) = delete;
  ~DeflateStream() {
    if (initialized_) deflateEnd(&stream_);
  }

  // One whole gzip member for `data`, from a freshly reset state.
  Result<std::string> compress(std::string_view data) {
    if (const int reset = deflateReset(&stream_); reset != Z_OK)
      return gzipCompressionFailed(reset);
    // Room for the worst case, so that one call finishes the stream.
    std::string result(deflateBound(&stream_, static_cast<uLong>(data.size())), '\0');
    stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
    stream_.avail_in = static_cast<uInt>(data.size());
    stream_.next_out = reinterpret_cast<Bytef*>(result.data());
    stream_.avail_out = static_cast<uInt>(result.size());
    const int status = deflate(&stream_, Z_FINISH);
    if (status != Z_STREAM_END) return gzipCompressionFailed(status == Z_OK ? Z_BUF_ERROR : status);
    result.resize(result.size() - stream_.avail_out);
    return result;
  }

 private:
  z_stream stream_{};
  bool initialized_ = false;
};

Result<std::string> gzip(std::string_view data) {
  if (data.empty()) return std::string();
  Result<std::unique_ptr<DeflateStream>> stream = DeflateStream::open();
  if (!stream) return stream.error();
  return stream.value()->compress(data);
}

GzipCompressor::GzipCompressor() = default;
GzipCompressor::~GzipCompressor() = default;

Result<std::string> GzipCompressor::compress(std::string_view data) {
  if (data.empty()) return std::string();
  std::unique_lock lock(lock_, std::try_to_lock);
  if (!lock) return gzip(data);
  if (!kept_) {
    Result<std::unique_ptr<DeflateStream>> opened = DeflateStream::open();
    if (!opened) return opened.error();
    kept_ = std::move(opened).value();
  }
  return kept_->compress(data);
}

}  // namespace korvane
