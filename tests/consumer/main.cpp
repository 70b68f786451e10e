// A host program that only sees the installed API.
#include <korvane/korvane.h>

#include <cstdio>

int main() {
  korvane::KorvaneSdkConfig config =
      korvane::KorvaneSdkConfig::Builder("app-key", "app-secret").setTimeoutMillis(1500).build();
  korvane::KorvaneSdkUser user("user-1", 1, 1990);
  std::printf("%s %s %s\n", korvane::kSdkVersion, config.appKey().c_str(),
              korvane::stringValue(*user.gender()));
  return config.timeoutMillis() == 1500 ? 0 : 1;
}
