// Placement failures as the enumeration Swift callers switch over. It bridges to the same NSError
// the Objective-C API delivers: domain KorvaneAdErrorDomain, the case's code and its text.

/// Why a placement (banner, mission list, quiz list) failed.
@frozen
public enum KorvaneAdError: Error, Hashable, CaseIterable, Sendable {
  /// "SDK not initialized": no SDK, no user, or no backend connection yet.
  case notInitialized
  /// "Failed to load ad".
  case loadFailed
  /// "Network error occurred".
  case networkError
  /// "No ads available".
  case noFill
  /// "Unknown error occurred".
  case unknown

  /// The placement error `error` carries: an error of `KorvaneAdErrorDomain` gives its case, any
  /// other error `unknown`.
  public init(_ error: any Error) {
    if let known = error as? KorvaneAdError {
      self = known
      return
    }
    let bridged = error as NSError
    guard bridged.domain == KorvaneAdErrorDomain,
      let code = __KorvaneAdError.Code(rawValue: bridged.code)
    else {
      self = .unknown
      return
    }
    self.init(code)
  }

  init(_ code: __KorvaneAdError.Code) {
    switch code {
    case .notInitialized: self = .notInitialized
    case .loadFailed: self = .loadFailed
    case .networkError: self = .networkError
    case .noFill: self = .noFill
    default: self = .unknown
    }
  }

  var code: __KorvaneAdError.Code {
    switch self {
    case .notInitialized: .notInitialized
    case .loadFailed: .loadFailed
    case .networkError: .networkError
    case .noFill: .noFill
    case .unknown: .unknown
    }
  }
}

extension KorvaneAdError: CustomNSError {
  /// `KorvaneAdErrorDomain`, the domain of the Objective-C API's placement errors.
  public static var errorDomain: String { KorvaneAdErrorDomain }
  /// The case's index, as the Objective-C API's codes.
  public var errorCode: Int { code.rawValue }
}

extension KorvaneAdError: LocalizedError {
  /// The case's text, such as "No ads available".
  public var errorDescription: String? { __KorvaneAdErrorDescription(code) }
}
