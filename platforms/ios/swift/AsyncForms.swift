// `async` forms of the operations that complete once, over their callback forms. From iOS 15,
// where the system carries Swift's concurrency runtime: the framework links that runtime weakly,
// so it still loads on iOS 14, where these forms are absent. The continuations are the unsafe
// kind because the checked kind's entry point is back-deployed through a runtime version check
// the framework cannot link; each callback form below calls exactly one of its closures once.

@available(iOS 15.0, *)
extension KorvaneSdk {
  /// Logs `korvaneSdkUser` in and returns once the SDK has (a failed backend request still
  /// returns, as the listener's `onSuccess` follows it too); throws `KorvaneLoginFailure` when the
  /// SDK is not initialised or the user id is empty.
  public func login(korvaneSdkUser: KorvaneSdkUser) async throws {
    try await withUnsafeThrowingContinuation { continuation in
      login(korvaneSdkUser: korvaneSdkUser, listener: LoginContinuation(continuation))
    }
  }

  /// The banner of `placementId`, whatever its success flag; throws a `KorvaneSdkError` when the
  /// SDK is not initialised or no user is logged in, else the transport's error.
  public func getBannerInfo(placementId: String) async throws -> BannerInfoResponse {
    try await withUnsafeThrowingContinuation { continuation in
      getBannerInfo(placementId: placementId) { result in continuation.resume(with: result) }
    }
  }
}

@available(iOS 15.0, *)
extension KorvaneBanner {
  /// The banner of `placementId` when the backend has one; throws the `KorvaneAdError` otherwise.
  public func getBanner(placementId: String) async throws -> BannerInfoResponse {
    try await withUnsafeThrowingContinuation { continuation in
      getBanner(
        placementId: placementId, onSuccess: { continuation.resume(returning: $0) },
        onFailure: { continuation.resume(throwing: $0) })
    }
  }
}

@available(iOS 15.0, *)
extension KorvaneMission {
  /// Loads the list once (no closures are kept for later loads) and returns it with the progress;
  /// throws the `KorvaneAdError` the load reports.
  public func load() async throws -> (missions: [Mission], progress: MissionProgress) {
    try await withUnsafeThrowingContinuation { continuation in
      load(
        onSuccess: { missions, progress in continuation.resume(returning: (missions, progress)) },
        onFailure: { continuation.resume(throwing: $0) }, shouldStoreCallbacks: false)
    }
  }
}

@available(iOS 15.0, *)
extension KorvaneQuiz {
  /// Loads the list once (no closures are kept for later loads); throws the `KorvaneAdError` the
  /// load reports.
  public func load() async throws -> QuizResponse {
    try await withUnsafeThrowingContinuation { continuation in
      load(
        onSuccess: { continuation.resume(returning: $0) },
        onFailure: { continuation.resume(throwing: $0) }, shouldStoreCallbacks: false)
    }
  }
}
