// Login's result in Swift's terms: the refusal reason as a printable value and, for `async`
// callers, as an error.

extension KorvaneLoginError: CustomStringConvertible {}

/// Why `KorvaneSdk.login(korvaneSdkUser:)` was refused: the reason `onFailure` would have been given.
public struct KorvaneLoginFailure: Error, Hashable, Sendable, CustomStringConvertible {
  /// The SDK's reason.
  public let reason: KorvaneLoginError
  /// The reason's text, such as "SDK is not initialized".
  public var description: String { reason.description }

  /// A failure for `reason`.
  public init(reason: KorvaneLoginError) { self.reason = reason }
}

/// A login listener that resumes one continuation; the SDK keeps its listener until it calls it.
@available(iOS 15.0, *)
final class LoginContinuation: NSObject, KorvaneSdkLoginListener {
  private var continuation: UnsafeContinuation<Void, any Error>?

  nonisolated init(_ continuation: UnsafeContinuation<Void, any Error>) {
    self.continuation = continuation
  }

  func onSuccess() {
    continuation?.resume()
    continuation = nil
  }

  func onFailure(_ error: KorvaneLoginError) {
    continuation?.resume(throwing: KorvaneLoginFailure(reason: error))
    continuation = nil
  }
}
