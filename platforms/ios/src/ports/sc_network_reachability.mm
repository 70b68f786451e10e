#import "ports/sc_network_reachability.h"

#import <SystemConfiguration/SystemConfiguration.h>
#import <dispatch/dispatch.h>

#include <netinet/in.h>

#include <memory>

namespace korvane::ios {
namespace {

using SharedObserver = std::shared_ptr<const std::function<void(bool)>>;

SCNetworkReachabilityRef zeroAddressProbe() {
  sockaddr_in zero{};
  zero.sin_len = sizeof zero;
  zero.sin_family = AF_INET;
  return SCNetworkReachabilityCreateWithAddress(kCFAllocatorDefault,
                                                reinterpret_cast<sockaddr*>(&zero));
}

bool connectedBy(SCNetworkReachabilityFlags flags) {
  return (flags & kSCNetworkReachabilityFlagsReachable) &&
         !(flags & kSCNetworkReachabilityFlagsConnectionRequired);
}

// The context's info is a shared observer the system retains for as long as it keeps the context
// and for each callback it runs, so ending the subscription during a callback frees nothing that
// callback still uses.
const void* retainObserver(const void* info) {
  return std::make_unique<SharedObserver>(*static_cast<const SharedObserver*>(info)).release();
}

void releaseObserver(const void* info) {
  std::unique_ptr<const SharedObserver>(static_cast<const SharedObserver*>(info));
}

void onFlagsChanged(SCNetworkReachabilityRef, SCNetworkReachabilityFlags flags, void* info) {
  (**static_cast<const SharedObserver*>(info))(connectedBy(flags));
}

}  // namespace

bool SCNetworkReachabilityProbe::isConnected() const {
  SCNetworkReachabilityRef probe = zeroAddressProbe();
  if (!probe) return false;
  SCNetworkReachabilityFlags flags = 0;
  const bool read = SCNetworkReachabilityGetFlags(probe, &flags);
  CFRelease(probe);
  return read && connectedBy(flags);
}

Subscription SCNetworkReachabilityProbe::subscribe(std::function<void(bool)> observer) {
  if (!observer) return Subscription();
  SCNetworkReachabilityRef probe = zeroAddressProbe();
  if (!probe) return Subscription();
  const SharedObserver shared =
      std::make_shared<const std::function<void(bool)>>(std::move(observer));
  SCNetworkReachabilityContext context{0, const_cast<SharedObserver*>(&shared), retainObserver,
                                       releaseObserver, nullptr};
  dispatch_queue_t queue =
      dispatch_queue_create("com.korvane.sdk.reachability", DISPATCH_QUEUE_SERIAL);
  if (!SCNetworkReachabilitySetCallback(probe, onFlagsChanged, &context) ||
      !SCNetworkReachabilitySetDispatchQueue(probe, queue)) {
    SCNetworkReachabilitySetCallback(probe, nullptr, nullptr);
    CFRelease(probe);
    return Subscription();
  }
  return Subscription([probe] {
    SCNetworkReachabilitySetDispatchQueue(probe, nullptr);
    SCNetworkReachabilitySetCallback(probe, nullptr, nullptr);
    CFRelease(probe);
  });
}

}  // namespace korvane::ios
