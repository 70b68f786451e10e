#pragma once

#include <string>
#include <string_view>

#include "korvane/core/error.h"

namespace korvane {

// Errors of the gzip routine; each carries zlib's return code.
Error gzipInitializationFailed(int code);  // "GZIP initialization failed with code: N"
Error gzipCompressionFailed(int code);     // "GZIP compression failed with code: N"
Error gzipDecompressionFailed(int code);   // "GZIP decompression failed with code: N"

// Compresses `data` into a gzip stream (default level, 32 KiB window, gzip wrapper) through one
// 16 KiB output buffer. Empty input gives empty output, with no gzip header at all.
Result<std::string> gzip(std::string_view data);

}  // namespace korvane
