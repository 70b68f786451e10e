// The sample's flow in Swift, for apps written in Swift. Every name here is one the API listings
// (platforms/ios/KorvaneSDK.api and KorvaneSDK-Swift.api) show Swift sees.
import KorvaneSDK
import SwiftUI
import UIKit

@main
final class AppDelegate: UIResponder, UIApplicationDelegate {
  func application(
    _ application: UIApplication,
    didFinishLaunchingWithOptions launchOptions: [UIApplication.LaunchOptionsKey: Any]?
  ) -> Bool {
    KorvaneSdk.setLogLevel(.info)
    let config = KorvaneSdkConfig.Builder(appKey: "demo-app-key", appSecret: "demo-app-secret")
      .setEnvironment(.staging)
      .build()
    KorvaneSdk.shared.initialize(application: application, sdkConfig: config)
    return true
  }

  // The window comes with the scene.
  func application(
    _ application: UIApplication, configurationForConnecting session: UISceneSession,
    options: UIScene.ConnectionOptions
  ) -> UISceneConfiguration {
    let configuration = UISceneConfiguration(name: nil, sessionRole: session.role)
    configuration.delegateClass = SceneDelegate.self
    return configuration
  }
}

final class SceneDelegate: UIResponder, UIWindowSceneDelegate {
  var window: UIWindow?

  func scene(
    _ scene: UIScene, willConnectTo session: UISceneSession,
    options connectionOptions: UIScene.ConnectionOptions
  ) {
    guard let scene = scene as? UIWindowScene else { return }
    let window = UIWindow(windowScene: scene)
    window.rootViewController = UINavigationController(rootViewController: OffersViewController())
    window.makeKeyAndVisible()
    self.window = window
  }
}

final class OffersViewController: UIViewController {
  private let status = UILabel()
  private let missions = KorvaneMission()
  private let quizzes = KorvaneQuiz()

  override func viewDidLoad() {
    super.viewDidLoad()
    title = "KorvaneSDK sample"
    view.backgroundColor = .systemBackground
    status.numberOfLines = 0
    let column = UIStackView(arrangedSubviews: [
      status,
      button("Log in", #selector(logIn)),
      button("Open offerwall", #selector(openOfferwall)),
      button("Embedded offerwall", #selector(openEmbeddedOfferwall)),
      button("SwiftUI offerwall", #selector(openSwiftUIOfferwall)),
      button("Load missions", #selector(loadMissions)),
      button("Load quizzes", #selector(loadQuizzes)),
      button("Load banner", #selector(loadBanner)),
    ])
    column.axis = .vertical
    column.spacing = 12
    column.translatesAutoresizingMaskIntoConstraints = false
    view.addSubview(column)
    NSLayoutConstraint.activate([
      column.topAnchor.constraint(equalTo: view.safeAreaLayoutGuide.topAnchor, constant: 24),
      column.leadingAnchor.constraint(
        equalTo: view.safeAreaLayoutGuide.leadingAnchor, constant: 24),
      column.trailingAnchor.constraint(
        equalTo: view.safeAreaLayoutGuide.trailingAnchor, constant: -24),
    ])
    missions.setEventsListener(self)
  }

  private func button(_ title: String, _ action: Selector) -> UIButton {
    let button = UIButton(type: .system)
    button.setTitle(title, for: .normal)
    button.addTarget(self, action: action, for: .touchUpInside)
    return button
  }

  @objc private func logIn() {
    guard KorvaneSdk.shared.isInitialized() else {
      status.text = "The backend has not validated the app yet."
      return
    }
    let user = KorvaneSdkUser(userId: "sample-user", gender: .female, birthYear: 1994)
    KorvaneSdk.shared.login(korvaneSdkUser: user, listener: self)
  }

  @objc private func openOfferwall() {
    KorvaneSdk.shared.openOfferwall(
      presentingViewController: self, placementId: "home",
      callback: self, eventCallback: nil)
  }

  @objc private func openEmbeddedOfferwall() {
    navigationController?.pushViewController(EmbeddedOfferwallViewController(), animated: true)
  }

  @objc private func openSwiftUIOfferwall() {
    let offerwall = KorvaneOfferwall(
      placementId: "home",
      onClosed: { [weak self] in self?.navigationController?.popViewController(animated: true) },
      onRewardEarned: { [weak self] amount in self?.status.text = "Reward: \(amount)" })
    navigationController?.pushViewController(
      UIHostingController(rootView: offerwall), animated: true)
  }

  @objc private func loadMissions() {
    missions.load(
      onSuccess: { [weak self] missions, progress in
        self?.status.text =
          "\(missions.count) missions, \(progress.current) of \(progress.total) done"
      },
      onFailure: { [weak self] error in
        self?.status.text = Self.describe(error)
      }, shouldStoreCallbacks: false)
  }

  @objc private func loadQuizzes() {
    guard #available(iOS 15.0, *) else { return }
    Task {
      do {
        let response = try await quizzes.load()
        status.text = "\(response.events.count) quizzes"
      } catch let error as KorvaneAdError {
        status.text = Self.describe(error)
      } catch {
        status.text = error.localizedDescription
      }
    }
  }

  @objc private func loadBanner() {
    KorvaneBanner.shared.getBanner(
      placementId: "home-banner",
      onSuccess: { [weak self] banner in
        let size = banner.imageWidth.map { "\($0) px wide" } ?? "no size"
        self?.status.text = "Banner: \(banner.titleText ?? "(no title)"), \(size)"
      },
      onFailure: { [weak self] error in
        self?.status.text = Self.describe(error)
      })
  }

  private static func describe(_ error: KorvaneAdError) -> String {
    switch error {
    case .noFill: "Nothing to show for now"
    case .notInitialized: "Log in first"
    case .networkError, .loadFailed, .unknown: "Failed: \(error.localizedDescription)"
    }
  }
}

extension OffersViewController: KorvaneSdkLoginListener {
  func onSuccess() { status.text = "Logged in." }
  func onFailure(_ error: KorvaneLoginError) { status.text = "Login refused: \(error.description)" }
}

extension OffersViewController: OfferwallCallback {
  func onOpened() { status.text = "Offerwall opened." }
  func onClosed() { status.text = "Offerwall closed." }
  func onError(_ message: String) { status.text = message }
  func onRewardEarned(_ amount: Int) { status.text = "Reward: \(amount)" }
}

extension OffersViewController: KorvaneMissionEventsListener {
  func onClicked(_ mission: Mission) {}
  func onImpressed(_ mission: Mission) {}
  func onCompleted(_ mission: Mission) { status.text = "Mission done: \(mission.title)" }
  func onProgressed(_ mission: Mission) {}
  func onRefreshed(unitId: String?) { loadMissions() }
}

final class EmbeddedOfferwallViewController: UIViewController, OfferwallCallback {
  private let offerwall = KorvaneOfferwallView()

  override func viewDidLoad() {
    super.viewDidLoad()
    title = "Rewards"
    view.backgroundColor = .systemBackground
    offerwall.translatesAutoresizingMaskIntoConstraints = false
    view.addSubview(offerwall)
    NSLayoutConstraint.activate([
      offerwall.topAnchor.constraint(equalTo: view.safeAreaLayoutGuide.topAnchor),
      offerwall.bottomAnchor.constraint(equalTo: view.safeAreaLayoutGuide.bottomAnchor),
      offerwall.leadingAnchor.constraint(equalTo: view.leadingAnchor),
      offerwall.trailingAnchor.constraint(equalTo: view.trailingAnchor),
    ])
    offerwall.setCallback(self)  // held weakly: no retain cycle
    offerwall.loadOfferwall(placementId: "home")
  }

  func onOpened() {}
  func onClosed() { navigationController?.popViewController(animated: true) }
  func onError(_ message: String) { print("embedded offerwall failed: \(message)") }
  func onRewardEarned(_ amount: Int) { print("reward earned: \(amount)") }
}
