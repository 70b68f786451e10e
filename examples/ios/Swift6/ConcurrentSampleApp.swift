// The Swift 6 sample's app: the scene life cycle, the SDK started from the app's launch and the
// screen from its scene.
import KorvaneSDK
import UIKit

@main
final class ConcurrentSampleAppDelegate: UIResponder, UIApplicationDelegate {
  func application(
    _ application: UIApplication,
    didFinishLaunchingWithOptions launchOptions: [UIApplication.LaunchOptionsKey: Any]?
  ) -> Bool {
    KorvaneSdk.setLogLevel(.info)
    return true
  }

  func application(
    _ application: UIApplication, configurationForConnecting session: UISceneSession,
    options: UIScene.ConnectionOptions
  ) -> UISceneConfiguration {
    let configuration = UISceneConfiguration(name: nil, sessionRole: session.role)
    configuration.delegateClass = ConcurrentSampleSceneDelegate.self
    return configuration
  }
}

final class ConcurrentSampleSceneDelegate: UIResponder, UIWindowSceneDelegate {
  var window: UIWindow?

  func scene(
    _ scene: UIScene, willConnectTo session: UISceneSession,
    options connectionOptions: UIScene.ConnectionOptions
  ) {
    guard let scene = scene as? UIWindowScene else { return }
    let offers = ConcurrentOffersViewController()
    let window = UIWindow(windowScene: scene)
    window.rootViewController = UINavigationController(rootViewController: offers)
    window.makeKeyAndVisible()
    self.window = window
    offers.start(application: UIApplication.shared)
  }
}
