#include "korvane/linux/linux_device.h"

#include <sys/utsname.h>

#include <cstdlib>
#include <fstream>

namespace korvane::linux_host {
namespace {

std::optional<std::string> osReleaseVersion() {
  std::ifstream file("/etc/os-release");
  std::string line;
  while (std::getline(file, line)) {
    if (line.rfind("VERSION_ID=", 0) != 0) continue;
    std::string value = line.substr(11);
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
      value = value.substr(1, value.size() - 2);
    if (!value.empty()) return value;
  }
  return std::nullopt;
}

std::string localeName() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = std::getenv(variable);
    if (value && *value) return value;
  }
  return {};
}

}  // namespace

LocaleParts parseLocaleName(const std::string& name) {
  std::string base = name.substr(0, name.find_first_of(".@"));
  if (base.empty() || base == "C" || base == "POSIX") return {};
  LocaleParts parts;
  const std::size_t underscore = base.find('_');
  parts.language = base.substr(0, underscore);
  if (underscore != std::string::npos && underscore + 1 < base.size())
    parts.region = base.substr(underscore + 1);
  return parts;
}

LinuxDeviceProbe::LinuxDeviceProbe(std::optional<std::string> appVersion)
    : appVersion_(std::move(appVersion)) {
  utsname names{};
  if (::uname(&names) == 0) {
    machine_ = names.machine;
    osVersion_ = names.release;
  }
  if (std::optional<std::string> version = osReleaseVersion()) osVersion_ = *version;
  LocaleParts locale = parseLocaleName(localeName());
  language_ = std::move(locale.language);
  region_ = std::move(locale.region);
}

LinuxTrackingAuthorization::LinuxTrackingAuthorization(long status, std::string identifier)
    : status_(status), identifier_(std::move(identifier)) {}

void LinuxTrackingAuthorization::requestAuthorization(std::function<void(long)> completion) {
  if (completion) completion(status_);
}

}  // namespace korvane::linux_host
