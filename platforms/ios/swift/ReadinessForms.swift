// The SDK's status and an offerwall's availability as asynchronous sequences, over the listener
// forms. From iOS 15, as the other `async` forms. Each sequence keeps its relay, which the SDK
// holds only weakly, until the sequence ends.

import UIKit

@available(iOS 15.0, *)
extension KorvaneSdk {
  /// Initializes as `initialize(application:sdkConfig:)` does and returns how the start went:
  /// ready, or failed and why. A failure for the network, the server or its answer is tried again
  /// by itself afterwards; `statusUpdates()` follows that.
  public func initializeAndWait(application: UIApplication, sdkConfig: KorvaneSdkConfig) async
    -> KorvaneSdkStatus
  {
    await withUnsafeContinuation { continuation in
      initialize(application: application, sdkConfig: sdkConfig) { status in
        continuation.resume(returning: status)
      }
    }
  }

  /// The status now, then every change, on the main actor, until the task iterating it ends.
  public func statusUpdates() -> AsyncStream<KorvaneSdkStatus> {
    AsyncStream { continuation in
      let relay = StatusRelay(continuation)
      let observation = addStatusListener(relay)
      continuation.onTermination = { _ in
        observation.cancel()
        _ = relay
      }
    }
  }

  /// Whether the offerwall for `placementId` can be shown, now and after every change (start,
  /// login, logout, network).
  public func offerwallAvailabilityUpdates(placementId: String)
    -> AsyncStream<KorvaneOfferwallAvailability>
  {
    AsyncStream { continuation in
      let relay = AvailabilityRelay(continuation)
      let observation = addOfferwallAvailabilityListener(relay, placementId: placementId)
      continuation.onTermination = { _ in
        observation.cancel()
        _ = relay
      }
    }
  }
}

@available(iOS 15.0, *)
@MainActor
final class StatusRelay: NSObject, KorvaneSdkStatusListener {
  private let continuation: AsyncStream<KorvaneSdkStatus>.Continuation

  nonisolated init(_ continuation: AsyncStream<KorvaneSdkStatus>.Continuation) {
    self.continuation = continuation
  }

  func sdkStatusDidChange(_ status: KorvaneSdkStatus) {
    continuation.yield(status)
  }
}

@available(iOS 15.0, *)
@MainActor
final class AvailabilityRelay: NSObject, KorvaneOfferwallAvailabilityListener {
  private let continuation: AsyncStream<KorvaneOfferwallAvailability>.Continuation

  nonisolated init(_ continuation: AsyncStream<KorvaneOfferwallAvailability>.Continuation) {
    self.continuation = continuation
  }

  func offerwallAvailabilityDidChange(
    _ availability: KorvaneOfferwallAvailability, placementId: String
  ) {
    continuation.yield(availability)
  }
}
