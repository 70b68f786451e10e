// Every documented Swift name of the facade, the logger, the configuration, the user and the
// placements, called as an app calls it. The iOS build type-checks this file against the built
// framework: a name the Swift importer renames (Objective-C selectors lose words Swift finds
// needless) fails there, where the API listings, read from the headers, cannot see it.
import KorvaneSDK
import UIKit

@MainActor
func facade(
  application: UIApplication, screen: UIViewController, callback: OfferwallCallback,
  events: OfferwallEventCallback, login: KorvaneSdkLoginListener
) {
  let sdk: KorvaneSdk = KorvaneSdk.shared
  sdk.initialize(application: application, sdkConfig: configuration())
  sdk.login(korvaneSdkUser: user(), listener: login)
  sdk.logout()
  let _: Bool = sdk.isInitialized()
  let _: Bool = sdk.isLoggedIn
  let _: KorvaneSdkUser? = sdk.getCurrentUser()
  let _: KorvaneSdkConfig? = sdk.getConfig()
  let _: String = sdk.getSDKVersion()
  KorvaneSdk.setLogLevel(.debug)
  sdk.getAdvertisingId(completion: { (_: String) in })
  sdk.trackEvent(eventType: .custom, category: "c", payload: nil)
  sdk.trackEventWithCustomName(eventName: "n", category: "c", payload: ["k": 1])
  sdk.trackCustomEvent(eventName: "n", category: "c", payload: nil)
  sdk.flushEvents()
  sdk.reportSdkError("m", error: nil, layer: "app")
  KorvaneSdk.telemetryEnabled = !KorvaneSdk.telemetryEnabled
  sdk.preloadOfferwall(placementId: "p")
  sdk.openOfferwall(
    presentingViewController: screen, placementId: "p", callback: callback, eventCallback: events)
  sdk.openOfferwallWithUrl(
    "https://example.com", placementId: "p", presentingViewController: screen,
    callback: callback, eventCallback: nil, showNavigationBar: true, useNativeNavigationBar: false)
  sdk.openOfferwallPindleAds(
    presentingViewController: screen, placementId: "p", callback: nil, eventCallback: nil,
    showNavigationBar: false, useNativeNavigationBar: false)
  sdk.openAdjoeOfferwall(presentingViewController: screen, placementId: "p", callback: callback)
  let _: Bool = sdk.openExternalBrowser("https://example.com", placementId: "p")
  let _: String? = sdk.getOfferwallUrl()
  sdk.getBannerInfo(placementId: "b", completion: { (_: Result<BannerInfoResponse, any Error>) in })
}

@available(iOS 15.0, *)
@MainActor
func asyncForms() async throws {
  try await KorvaneSdk.shared.login(korvaneSdkUser: user())
  let _: String = await KorvaneSdk.shared.getAdvertisingId()
  let _: BannerInfoResponse = try await KorvaneSdk.shared.getBannerInfo(placementId: "b")
  let _: BannerInfoResponse = try await KorvaneBanner.shared.getBanner(placementId: "b")
  let (_, _): ([Mission], MissionProgress) = try await KorvaneMission().load()
  let _: QuizResponse = try await KorvaneQuiz().load()
}

func logger() {
  let level: LogLevel = KorvaneLogger.logLevel
  KorvaneLogger.logLevel = level < .info ? .info : level
  let previous = KorvaneLogger.telemetrySink
  KorvaneLogger.telemetrySink = { (level: LogLevel, tag: String, message: String, error: Error?) in
    previous?(level, tag, message, error)
  }
  KorvaneLogger.e("T", "m")
  KorvaneLogger.e("T", "m", error: nil)
  KorvaneLogger.w("T", "m")
  KorvaneLogger.w("T", "m", error: nil)
  KorvaneLogger.i("T", "m")
  KorvaneLogger.d("T", "m")
  KorvaneLogger.v("T", "m")
  let _: String = KorvaneLogger.scrub("appKey=1")
}

func configuration() -> KorvaneSdkConfig {
  let config: KorvaneSdkConfig = KorvaneSdkConfig.Builder(appKey: "k", appSecret: "s")
    .setEnvironment(.production).setTimeoutMillis(30_000).enableAdjoe(sdkHash: "h")
    .disableAdjoe().setApiBaseUrl("https://api.example.com")
    .addTrustedOrigin("https://example.com").setBridgeOriginPolicyEnabled(true).build()
  let _: (String, String, Int64, Bool, String?) = (
    config.appKey, config.appSecret, config.timeoutMillis, config.adjoeEnabled, config.adjoeSdkHash
  )
  let _: KorvaneSdkConfig.Environment = config.environment
  return config
}

func user() -> KorvaneSdkUser {
  let user = KorvaneSdkUser(userId: "u", gender: .female, birthYear: 1990)
  let _: (String, KorvaneSdkUser.Gender?, Int?) = (user.userId, user.gender, user.birthYear)
  let _: String = KorvaneSdkUser.Gender.other.stringValue
  return KorvaneSdkUser(userId: "u")
}

@MainActor
func placements(
  screen: UIViewController, missionListener: KorvaneMissionEventsListener,
  quizListener: KorvaneQuizEventsListener
) {
  let mission = KorvaneMission()
  mission.setEventsListener(missionListener)
  mission.load(
    onSuccess: { (_: [Mission], _: MissionProgress) in }, onFailure: { (_: KorvaneAdError) in },
    shouldStoreCallbacks: true)
  let missions: [Mission] = mission.getMissions()
  let _: Mission? = mission.getMission(missionId: "m")
  let _: MissionResponse? = mission.missionResponse
  let _: String? = mission.rewardUrl
  mission.markAsParticipating("m")
  let _: Bool = mission.isParticipating("m")
  mission.clickMission("m", from: screen)
  if let first = missions.first {
    mission.clickMission(first, from: screen)
    mission.onMissionClicked(first)
    mission.onMissionImpressed(first)
    mission.onMissionCompleted(first)
    mission.onMissionProgressed(first)
  }
  mission.onRewardButtonClicked(from: screen)
  mission.destroy()
  KorvaneMission.refreshMissionList(nil)

  let quiz = KorvaneQuiz()
  quiz.setQuizEventsListener(quizListener)
  quiz.load(
    onSuccess: { (_: QuizResponse) in }, onFailure: { (_: KorvaneAdError) in },
    shouldStoreCallbacks: false)
  let events: [QuizEvent] = quiz.quizEvents
  quiz.clickQuiz("q", from: screen)
  if let first = events.first {
    quiz.clickQuiz(first, from: screen)
    quiz.trackClick(first)
  }

  KorvaneBanner.shared.getBanner(
    placementId: "b", onSuccess: { (_: BannerInfoResponse) in },
    onFailure: { (_: KorvaneAdError) in })
}
