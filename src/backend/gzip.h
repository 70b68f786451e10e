#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "korvane/values/error.h"

namespace korvane {

// Errors of the gzip routine; each carries zlib's return code.
Error gzipInitializationFailed(int code);  // "GZIP initialization failed with code: N"
Error gzipCompressionFailed(int code);     // "GZIP compression failed with code: N"
Error gzipDecompressionFailed(int code);   // "GZIP decompression failed with code: N"

// Compresses `data` into a gzip stream (default level, 32 KiB window, gzip wrapper). Empty input
// gives empty output, with no gzip header at all.
Result<std::string> gzip(std::string_view data);

class DeflateStream;

// The same compression for body after body: zlib's state (about 256 KiB) is set up once and
// reset for each body, since setting it up costs more than compressing a batch. The output is
// byte for byte what gzip() gives. Safe from any thread: a body that comes while another is being
// compressed gets a state of its own for that once instead of waiting.
class GzipCompressor {
 public:
  GzipCompressor();
  ~GzipCompressor();
  GzipCompressor(const GzipCompressor&) = delete;
  GzipCompressor& operator=(const GzipCompressor&) = delete;

  Result<std::string> compress(std::string_view data);

 private:
  std::mutex lock_;
  std::unique_ptr<DeflateStream> kept_;  // made by the first body
};

}  // namespace korvane
