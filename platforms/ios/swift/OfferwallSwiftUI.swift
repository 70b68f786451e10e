// The offerwall for SwiftUI layouts: KorvaneOfferwallView in a UIViewRepresentable. The view
// holds its callbacks weakly, so the representable's coordinator holds them, as closures the
// SwiftUI way.
import SwiftUI

/// The placement's offerwall as a SwiftUI view, embedded in the layout like
/// `KorvaneOfferwallView`: it loads once the view is made (the SDK must be initialised and a user
/// logged in) and reports to the closures on the main thread. After `onClosed` the page stays
/// until the app removes the view.
public struct KorvaneOfferwall: UIViewRepresentable {
  /// The placement whose offerwall is shown.
  public let placementId: String
  let callbacks: Callbacks

  /// An offerwall for `placementId`; each closure stands for the `OfferwallCallback` method of
  /// its name. Pages' custom events and data requests need `KorvaneOfferwallView` itself.
  public init(
    placementId: String, onOpened: @escaping () -> Void = {},
    onClosed: @escaping () -> Void = {}, onError: @escaping (String) -> Void = { _ in },
    onRewardEarned: @escaping (Int) -> Void = { _ in }
  ) {
    self.placementId = placementId
    callbacks = Callbacks(
      opened: onOpened, closed: onClosed, error: onError, rewardEarned: onRewardEarned)
  }

  /// Makes the view and starts loading the placement's offerwall.
  public func makeUIView(context: Context) -> KorvaneOfferwallView {
    let view = KorvaneOfferwallView()
    view.setCallback(context.coordinator)
    view.loadOfferwall(placementId: placementId)
    return view
  }

  /// Passes the latest closures on; the page itself stays as loaded.
  public func updateUIView(_ view: KorvaneOfferwallView, context: Context) {
    context.coordinator.callbacks = callbacks
  }

  /// The object the view reports to.
  public func makeCoordinator() -> Coordinator { Coordinator(callbacks) }

  struct Callbacks {
    var opened: () -> Void
    var closed: () -> Void
    var error: (String) -> Void
    var rewardEarned: (Int) -> Void
  }

  /// Forwards the view's callbacks to the latest closures.
  public final class Coordinator: NSObject, OfferwallCallback {
    var callbacks: Callbacks

    init(_ callbacks: Callbacks) { self.callbacks = callbacks }

    /// Calls `onOpened`.
    public func onOpened() { callbacks.opened() }
    /// Calls `onClosed`.
    public func onClosed() { callbacks.closed() }
    /// Calls `onError`.
    public func onError(_ message: String) { callbacks.error(message) }
    /// Calls `onRewardEarned`.
    public func onRewardEarned(_ amount: Int) { callbacks.rewardEarned(amount) }
  }
}
