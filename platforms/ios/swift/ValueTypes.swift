// The documented Swift forms of small value types that Objective-C cannot declare. Their texts
// come from the Objective-C API, which takes them from the core.

extension KorvaneSdkUser.Gender {
  /// The letter the backend receives: "M", "F" or "O".
  public var stringValue: String { KorvaneSdkUser.__stringValue(of: self) }
}

extension LogLevel: Comparable {
  /// Levels are ordered by their raw values: `none` < `error` < … < `verbose`.
  public static func < (lhs: LogLevel, rhs: LogLevel) -> Bool { lhs.rawValue < rhs.rawValue }
}

/// The closed list of telemetry event kinds; `rawValue` is the name the backend receives.
@frozen
public enum EventType: CaseIterable, Hashable, RawRepresentable, Sendable {
  case quizClicked, quizImpressed, quizStarted, quizCompleted
  case missionClicked, missionImpressed, missionCompleted, missionProgressed
  case offerwallOpened, offerwallClosed, bannerClicked, bannerImpressed
  case loginSuccess, loginFailed, custom, sdkError, sdkCrash

  /// The kind whose name is `rawValue`; nil for any other text.
  public init?(rawValue: String) {
    guard let found = Self.allCases.first(where: { $0.rawValue == rawValue }) else { return nil }
    self = found
  }

  /// The name the backend receives, such as "offerwall_opened".
  public var rawValue: String { objectiveC.rawValue }

  var objectiveC: __KorvaneEventType {
    switch self {
    case .quizClicked: .quizClicked
    case .quizImpressed: .quizImpressed
    case .quizStarted: .quizStarted
    case .quizCompleted: .quizCompleted
    case .missionClicked: .missionClicked
    case .missionImpressed: .missionImpressed
    case .missionCompleted: .missionCompleted
    case .missionProgressed: .missionProgressed
    case .offerwallOpened: .offerwallOpened
    case .offerwallClosed: .offerwallClosed
    case .bannerClicked: .bannerClicked
    case .bannerImpressed: .bannerImpressed
    case .loginSuccess: .loginSuccess
    case .loginFailed: .loginFailed
    case .custom: .custom
    case .sdkError: .sdkError
    case .sdkCrash: .sdkCrash
    }
  }
}

/// The kind of a mission; `rawValue` is the backend's word for it.
@frozen
public enum MissionType: CaseIterable, Hashable, RawRepresentable, Sendable {
  /// "normal".
  case normal
  /// "offerwall_promotion".
  case offerwallPromotion

  /// The kind whose word is `rawValue`; nil for any other text.
  public init?(rawValue: String) {
    guard let found = Self.allCases.first(where: { $0.rawValue == rawValue }) else { return nil }
    self = found
  }

  /// The backend's word, such as "offerwall_promotion".
  public var rawValue: String { objectiveC.rawValue }

  var objectiveC: __KorvaneMissionType {
    switch self {
    case .normal: .normal
    case .offerwallPromotion: .offerwallPromotion
    }
  }
}
