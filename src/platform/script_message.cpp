#include <string>

#include "korvane/platform/web_view.h"
#include "korvane/util/logger.h"

namespace korvane {

void warnOverlongScriptMessage(std::string_view tag, std::string_view handlerName) {
  KorvaneLogger::w(tag, "Refused a message to " + std::string(handlerName) + ": longer than " +
                            std::to_string(kMaxScriptMessageBytes) + " bytes");
}

}  // namespace korvane
