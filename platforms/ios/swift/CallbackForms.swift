// The documented Swift forms of the operations whose Objective-C forms Swift should not see:
// placement failures as KorvaneAdError, the banner answer as a Result, event kinds as EventType.
// Each converts its arguments and forwards; the SDK's rules stay behind the Objective-C API.

extension KorvaneSdk {
  /// Queues an event of `eventType` for the next batch; see `trackCustomEvent` for names of the
  /// app's own.
  public func trackEvent(eventType: EventType, category: String, payload: [String: Any]?) {
    __trackEvent(eventType: eventType.objectiveC, category: category, payload: payload)
  }

  /// Requests the banner of `placementId`. The completion runs once: at once with a
  /// `KorvaneSdkError` when the SDK is not initialised or no user is logged in, otherwise on a
  /// background queue with the response (whatever its success flag) or the transport's error.
  public func getBannerInfo(
    placementId: String,
    completion: @escaping @Sendable (Result<BannerInfoResponse, any Error>) -> Void
  ) {
    __getBannerInfo(placementId: placementId) { response, error in
      if let response {
        completion(.success(response))
      } else {
        completion(.failure(error ?? KorvaneAdError.unknown))
      }
    }
  }
}

extension KorvaneBanner {
  /// Requests the banner of `placementId`; exactly one of the two closures runs, on the main
  /// thread. `onSuccess` gets a response whose success flag is true.
  public func getBanner(
    placementId: String, onSuccess: @escaping @MainActor (BannerInfoResponse) -> Void,
    onFailure: @escaping @MainActor (KorvaneAdError) -> Void
  ) {
    __getBanner(
      placementId: placementId, onSuccess: onSuccess, onFailure: adErrorForwarder(onFailure))
  }
}

extension KorvaneMission {
  /// Loads the list; every listed mission is reported impressed, in order, before `onSuccess`.
  /// With `shouldStoreCallbacks` the two closures are kept for later loads.
  public func load(
    onSuccess: @escaping @MainActor ([Mission], MissionProgress) -> Void,
    onFailure: @escaping @MainActor (KorvaneAdError) -> Void, shouldStoreCallbacks: Bool
  ) {
    __load(
      onSuccess: onSuccess, onFailure: adErrorForwarder(onFailure),
      shouldStoreCallbacks: shouldStoreCallbacks)
  }
}

extension KorvaneQuiz {
  /// Loads the list; `onSuccess` comes first, then one impression per quiz in order. With
  /// `shouldStoreCallbacks` the two closures are kept for later loads.
  public func load(
    onSuccess: @escaping @MainActor (QuizResponse) -> Void,
    onFailure: @escaping @MainActor (KorvaneAdError) -> Void, shouldStoreCallbacks: Bool
  ) {
    __load(
      onSuccess: onSuccess, onFailure: adErrorForwarder(onFailure),
      shouldStoreCallbacks: shouldStoreCallbacks)
  }
}

/// The failure block the Objective-C placements take, forwarding to a closure of `KorvaneAdError`.
/// Made apart from the call: a main-actor closure written in the call would first ask Swift's
/// concurrency runtime, which iOS 14 lacks, whether it runs on the main actor (the placements call
/// it on the main thread).
private func adErrorForwarder(
  _ onFailure: @escaping @MainActor (KorvaneAdError) -> Void
) -> @MainActor (any Error) -> Void {
  { error in onFailure(KorvaneAdError(error)) }
}
