// A Swift 6 app's screen (language mode 6, complete concurrency checking, warnings as errors):
// one view controller that is every listener and callback of the SDK and hands it its own
// main-actor methods as closures. The SDK calls each of them on the main thread; the telemetry
// sink and the banner-info completion are @Sendable, for they run on the SDK's queues.
import KorvaneSDK
import SwiftUI
import UIKit

final class ConcurrentOffersViewController: UIViewController {
  private let status = UILabel()
  private let missions = KorvaneMission()
  private let quizzes = KorvaneQuiz()
  private let embedded = KorvaneOfferwallView()
  private var observations: [KorvaneObservation] = []
  private var reported = 0

  override func viewDidLoad() {
    super.viewDidLoad()
    view.addSubview(status)
    view.addSubview(embedded)
    missions.setEventsListener(self)
    quizzes.setQuizEventsListener(self)
    embedded.setCallback(self)
    embedded.setEventCallback(self)
    observations = [
      KorvaneSdk.shared.addStatusListener(self),
      KorvaneSdk.shared.addOfferwallAvailabilityListener(self, placementId: "home"),
    ]
    installTelemetrySink()
  }

  func start(application: UIApplication) {
    let config = KorvaneSdkConfig.Builder(appKey: "demo-app-key", appSecret: "demo-app-secret")
      .build()
    KorvaneSdk.shared.initialize(application: application, sdkConfig: config, completion: show)
  }

  func logIn() {
    KorvaneSdk.shared.login(korvaneSdkUser: KorvaneSdkUser(userId: "sample-user"), listener: self)
    KorvaneSdk.shared.getAdvertisingId(completion: show(advertisingId:))
  }

  func openOfferwall() {
    KorvaneSdk.shared.openOfferwall(
      presentingViewController: self, placementId: "home", callback: self, eventCallback: self)
  }

  func openWithHandlers() {
    let callback = OfferwallCallbackImpl(
      onOpened: onOpened, onClosed: onClosed, onError: onError(_:),
      onRewardEarned: onRewardEarned(_:))
    callback.onClosedHandler = openOfferwall
    KorvaneSdk.shared.openOfferwall(
      presentingViewController: self, placementId: "home", callback: callback, eventCallback: nil)
  }

  func loadContent() {
    missions.load(onSuccess: show(missions:progress:), onFailure: show, shouldStoreCallbacks: true)
    quizzes.load(onSuccess: show(quizzes:), onFailure: show, shouldStoreCallbacks: false)
    KorvaneBanner.shared.getBanner(placementId: "home-banner", onSuccess: show, onFailure: show)
    KorvaneSdk.shared.getBannerInfo(placementId: "home-banner") { [weak self] result in
      let text = (try? result.get())?.titleText ?? "no banner"
      Task { @MainActor in self?.status.text = text }
    }
  }

  func swiftUIOfferwalls() -> some View {
    VStack {
      KorvaneOfferwall(
        placementId: "home", onOpened: onOpened, onClosed: onClosed, onError: onError(_:),
        onRewardEarned: onRewardEarned(_:))
      if #available(iOS 15.0, *) {
        Color.clear.korvaneOfferwall(
          isPresented: .constant(false), placementId: "home", onOpened: onOpened,
          onClosed: onClosed, onError: onError(_:), onRewardEarned: onRewardEarned(_:))
      }
    }
  }

  // The sink runs on the thread that logged. It hands each line to the sink set before it (the
  // SDK's own reporting) on a queue of its own, so that no logging thread waits, and counts it on
  // the main actor.
  private func installTelemetrySink() {
    let previous = KorvaneLogger.telemetrySink
    let forwarding = DispatchQueue(label: "sample.telemetry")
    KorvaneLogger.telemetrySink = { [weak self] level, tag, message, error in
      forwarding.async { previous?(level, tag, message, error) }
      DispatchQueue.main.async { self?.reported += 1 }
    }
  }

  private func show(_ status: KorvaneSdkStatus) { self.status.text = status.message }
  private func show(advertisingId: String) { status.text = advertisingId }
  private func show(missions: [Mission], progress: MissionProgress) {
    status.text = "\(missions.count) missions"
  }
  private func show(quizzes: QuizResponse) { status.text = "\(quizzes.events.count) quizzes" }
  private func show(_ banner: BannerInfoResponse) { status.text = banner.titleText }
  private func show(_ error: KorvaneAdError) { status.text = error.localizedDescription }
}

extension ConcurrentOffersViewController: KorvaneSdkLoginListener {
  func onSuccess() { loadContent() }
  func onFailure(_ error: KorvaneLoginError) { status.text = error.description }
}

extension ConcurrentOffersViewController: OfferwallCallback {
  func onOpened() { status.text = "opened" }
  func onClosed() { status.text = "closed" }
  func onError(_ message: String) { status.text = message }
  func onRewardEarned(_ amount: Int) { status.text = "reward \(amount)" }
}

extension ConcurrentOffersViewController: OfferwallEventCallback {
  func onCustomEvent(eventType: String, payload: [String: Any]) { status.text = eventType }
  func onDataRequest(requestId: String, requestType: String, params: [String: Any])
    -> [String: Any]?
  {
    ["title": status.text ?? ""]
  }
}

extension ConcurrentOffersViewController: KorvaneMissionEventsListener {
  func onClicked(_ mission: Mission) { status.text = mission.title }
  func onImpressed(_ mission: Mission) {}
  func onCompleted(_ mission: Mission) { status.text = mission.title }
  func onProgressed(_ mission: Mission) {}
  func onRefreshed(unitId: String?) { loadContent() }
}

extension ConcurrentOffersViewController: KorvaneQuizEventsListener {
  func onImpressed(_ quizEvent: QuizEvent) {}
  func onClicked(_ quizEvent: QuizEvent) { status.text = quizEvent.title }
  func onQuizCompleted(_ quizEvent: QuizEvent, rewardAmount: Int) {
    status.text = "reward \(rewardAmount)"
  }
}

extension ConcurrentOffersViewController: KorvaneSdkStatusListener {
  func sdkStatusDidChange(_ status: KorvaneSdkStatus) { show(status) }
}

extension ConcurrentOffersViewController: KorvaneOfferwallAvailabilityListener {
  func offerwallAvailabilityDidChange(
    _ availability: KorvaneOfferwallAvailability, placementId: String
  ) {
    status.text = availability.reasonDescription
  }
}
