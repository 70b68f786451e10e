#include <string>

#include "korvane/core/logger.h"
#include "korvane/platform/web_view.h"

namespace korvane {

void warnOverlongScriptMessage(std::string_view tag, std::string_view handlerName) {
  KorvaneLogger::w(tag, "Refused a message to " + std::string(handlerName) + ": longer than " +
                            std::to_string(kMaxScriptMessageBytes) + " bytes");
}

}  // namespace korvane
