// The offerwall for SwiftUI layouts: KorvaneOfferwallView in a UIViewRepresentable. The view
// holds its callbacks weakly, so the representable's coordinator holds them, as closures the
// SwiftUI way.
import SwiftUI

/// The placement's offerwall as a SwiftUI view, embedded in the layout like
/// `KorvaneOfferwallView`. It loads the placement once the SDK is initialised and a user logged
/// in, and reports to the closures on the main thread, never while SwiftUI is updating the view.
/// A new `placementId` loads that placement in the same view; the same one is not loaded again.
/// Made before login, the view reports `onError` once and loads at its next update after login:
/// create it once the user is logged in, or give it `.id(userId)` so that SwiftUI makes a new one.
/// To start a placement afresh (after `onClosed` or a failed load), give the view
/// `.id(placementId)` or another new identity. After `onClosed` the page stays until the app
/// removes the view.
public struct KorvaneOfferwall: UIViewRepresentable {
  /// The placement whose offerwall is shown.
  public let placementId: String
  let callbacks: Callbacks

  /// An offerwall for `placementId`; each closure stands for the `OfferwallCallback` method of
  /// its name. Pages' custom events and data requests need `KorvaneOfferwallView` itself.
  public init(
    placementId: String, onOpened: @escaping @MainActor () -> Void = {},
    onClosed: @escaping @MainActor () -> Void = {},
    onError: @escaping @MainActor (String) -> Void = { _ in },
    onRewardEarned: @escaping @MainActor (Int) -> Void = { _ in }
  ) {
    self.placementId = placementId
    callbacks = Callbacks(
      opened: onOpened, closed: onClosed, error: onError, rewardEarned: onRewardEarned)
  }

  /// Makes the view; `updateUIView`, which SwiftUI calls next, loads the placement.
  public func makeUIView(context: Context) -> KorvaneOfferwallView {
    let view = KorvaneOfferwallView()
    view.setCallback(context.coordinator)
    return view
  }

  /// Passes the latest closures on and asks for the placement. The SDK loads it when it is not
  /// the one loaded or loading, and reports afterwards from the main queue.
  public func updateUIView(_ view: KorvaneOfferwallView, context: Context) {
    context.coordinator.callbacks = callbacks
    view.loadOfferwall(placementId: placementId)
  }

  /// The object the view reports to.
  public func makeCoordinator() -> Coordinator {
    let coordinator = Coordinator()
    coordinator.callbacks = callbacks
    return coordinator
  }

  /// The app's closures, which the SDK's callbacks call on the main thread.
  struct Callbacks {
    var opened: () -> Void
    var closed: () -> Void
    var error: (String) -> Void
    var rewardEarned: (Int) -> Void

    /// Closures that do nothing.
    init() {
      opened = {}
      closed = {}
      error = { _ in }
      rewardEarned = { _ in }
    }

    /// The app's main-actor closures as plain ones, for the nonisolated coordinators, which the
    /// SDK calls on the main thread and assert it. A synchronous main-actor closure is called as
    /// any other: only the compiler tells the two types apart. Called as isolated it would first
    /// ask Swift's concurrency runtime, which iOS 14 lacks, whether this is the main actor, and
    /// kept as such its type's metadata would come from that runtime's time too.
    init(
      opened: @escaping @MainActor () -> Void, closed: @escaping @MainActor () -> Void,
      error: @escaping @MainActor (String) -> Void,
      rewardEarned: @escaping @MainActor (Int) -> Void
    ) {
      self.opened = unsafeBitCast(opened, to: (() -> Void).self)
      self.closed = unsafeBitCast(closed, to: (() -> Void).self)
      self.error = unsafeBitCast(error, to: ((String) -> Void).self)
      self.rewardEarned = unsafeBitCast(rewardEarned, to: ((Int) -> Void).self)
    }
  }

  /// Forwards the view's callbacks to the latest closures, on the main thread.
  ///
  /// Its members are nonisolated: a main-actor method called from Objective-C first asks Swift's
  /// concurrency runtime whether it runs on the main actor, and that runtime comes with iOS 15
  /// (the framework links it weakly). The SDK calls these on the main thread, which each asserts,
  /// and SwiftUI sets `callbacks` there.
  public final class Coordinator: NSObject, OfferwallCallback {
    nonisolated(unsafe) var callbacks = Callbacks()

    /// A coordinator whose closures do nothing until the view passes its own.
    nonisolated override public init() { super.init() }

    /// Calls `onOpened`.
    nonisolated public func onOpened() {
      precondition(Thread.isMainThread, "offerwall callbacks run on the main thread")
      callbacks.opened()
    }
    /// Calls `onClosed`.
    nonisolated public func onClosed() {
      precondition(Thread.isMainThread, "offerwall callbacks run on the main thread")
      callbacks.closed()
    }
    /// Calls `onError`.
    nonisolated public func onError(_ message: String) {
      precondition(Thread.isMainThread, "offerwall callbacks run on the main thread")
      callbacks.error(message)
    }
    /// Calls `onRewardEarned`.
    nonisolated public func onRewardEarned(_ amount: Int) {
      precondition(Thread.isMainThread, "offerwall callbacks run on the main thread")
      callbacks.rewardEarned(amount)
    }
  }
}
