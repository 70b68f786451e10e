// The full-screen offerwall for SwiftUI: a view modifier that opens the placement through the
// facade (the SDK's own KorvaneOfferwallViewController, a preloaded page included) over an
// invisible view controller placed behind the modified view, while its binding is true.
import SwiftUI
import UIKit

@available(iOS 15.0, *)
extension View {
  /// Presents the placement's offerwall full screen while `isPresented` is true, as
  /// `KorvaneSdk.shared.openOfferwall(presentingViewController:placementId:callback:eventCallback:)`
  /// does: a page `preloadOfferwall(placementId:)` kept shows at once. The SDK sets `isPresented`
  /// back to false when the offerwall closes and when the opening fails (after `onError`); setting
  /// it to false closes the offerwall as its close button does (`onClosed` once). Each closure
  /// stands for the `OfferwallCallback` method of its name and runs on the main thread. iOS 15
  /// and later: the binding is set from the SDK's callbacks through Swift's concurrency runtime.
  public func korvaneOfferwall(
    isPresented: Binding<Bool>, placementId: String,
    onOpened: @escaping @MainActor () -> Void = {}, onClosed: @escaping @MainActor () -> Void = {},
    onError: @escaping @MainActor (String) -> Void = { _ in },
    onRewardEarned: @escaping @MainActor (Int) -> Void = { _ in }
  ) -> some View {
    background(
      KorvaneOfferwallFullScreen(
        isPresented: isPresented, placementId: placementId,
        callbacks: KorvaneOfferwall.Callbacks(
          opened: onOpened, closed: onClosed, error: onError, rewardEarned: onRewardEarned)))
  }
}

/// The view controller the modifier presents the offerwall over, and the link between the
/// binding and the opening.
@available(iOS 15.0, *)
struct KorvaneOfferwallFullScreen: UIViewControllerRepresentable {
  let isPresented: Binding<Bool>
  let placementId: String
  let callbacks: KorvaneOfferwall.Callbacks

  func makeUIViewController(context: Context) -> UIViewController {
    let anchor = UIViewController()
    anchor.view.isHidden = true
    anchor.view.isUserInteractionEnabled = false
    return anchor
  }

  func updateUIViewController(_ anchor: UIViewController, context: Context) {
    let coordinator = context.coordinator
    coordinator.callbacks = callbacks
    coordinator.isPresented = isPresented
    coordinator.anchor = anchor
    coordinator.placementId = placementId
    // Presenting during a SwiftUI update could be refused: both wait for the run loop's next turn.
    if isPresented.wrappedValue, !coordinator.opened {
      coordinator.opened = true
      coordinator.perform(#selector(Coordinator.open), with: nil, afterDelay: 0)
    } else if !isPresented.wrappedValue, coordinator.opened {
      coordinator.opened = false
      coordinator.perform(#selector(Coordinator.close), with: nil, afterDelay: 0)
    }
  }

  func makeCoordinator() -> Coordinator { Coordinator() }

  /// Hears the opening and puts the binding back when it ends. Nonisolated, as
  /// `KorvaneOfferwall.Coordinator` is, so that iOS 14 needs no concurrency runtime; the SDK calls
  /// it on the main thread, which each method asserts.
  final class Coordinator: NSObject, OfferwallCallback {
    nonisolated(unsafe) var callbacks = KorvaneOfferwall.Callbacks()
    nonisolated(unsafe) var isPresented: Binding<Bool>?
    // An opening was asked for and has not ended yet.
    nonisolated(unsafe) var opened = false
    nonisolated(unsafe) weak var anchor: UIViewController?
    nonisolated(unsafe) var placementId = ""

    nonisolated override init() { super.init() }

    /// Opens the placement over the anchor through the facade.
    @MainActor @objc func open() {
      guard let anchor else {
        opened = false
        return
      }
      KorvaneSdk.shared.openOfferwall(
        presentingViewController: anchor, placementId: placementId, callback: self,
        eventCallback: nil)
    }
    /// Dismisses what the anchor presents: the offerwall ends as its close button ends it.
    @MainActor @objc func close() {
      if let offerwall = anchor?.presentedViewController, !offerwall.isBeingDismissed {
        offerwall.dismiss(animated: true)
      }
    }

    nonisolated func onOpened() {
      precondition(Thread.isMainThread, "offerwall callbacks run on the main thread")
      callbacks.opened()
    }
    nonisolated func onClosed() {
      precondition(Thread.isMainThread, "offerwall callbacks run on the main thread")
      ended()
      callbacks.closed()
    }
    nonisolated func onError(_ message: String) {
      precondition(Thread.isMainThread, "offerwall callbacks run on the main thread")
      ended()
      callbacks.error(message)
    }
    nonisolated func onRewardEarned(_ amount: Int) {
      precondition(Thread.isMainThread, "offerwall callbacks run on the main thread")
      callbacks.rewardEarned(amount)
    }

    nonisolated private func ended() {
      opened = false
      if isPresented?.wrappedValue == true { isPresented?.wrappedValue = false }
    }
  }
}
