// The content records as Encodable. Each encodes the JSON object the Objective-C API gives, which
// the core builds with the backend's keys, so no key is spelled here.

import Foundation

extension BannerInfoResponse: Encodable {
  /// Encodes the backend's keys; absent optional fields are left out.
  public func encode(to encoder: any Encoder) throws {
    try FoundationJSON(__jsonObject).encode(to: encoder)
  }
}

extension Mission: Encodable {
  /// Encodes the backend's keys; absent optional fields are left out.
  public func encode(to encoder: any Encoder) throws {
    try FoundationJSON(__jsonObject).encode(to: encoder)
  }
}

extension MissionResponse: Encodable {
  /// Encodes the backend's keys, the missions included; absent optional fields are left out.
  public func encode(to encoder: any Encoder) throws {
    try FoundationJSON(__jsonObject).encode(to: encoder)
  }
}

extension QuizEvent: Encodable {
  /// Encodes the backend's keys; absent optional fields are left out.
  public func encode(to encoder: any Encoder) throws {
    try FoundationJSON(__jsonObject).encode(to: encoder)
  }
}

extension QuizResponse: Encodable {
  /// Encodes the backend's keys, the quizzes included; absent optional fields are left out.
  public func encode(to encoder: any Encoder) throws {
    try FoundationJSON(__jsonObject).encode(to: encoder)
  }
}

/// A JSON value as Foundation holds it (dictionary, array, text, number, boolean or null),
/// written through any Encoder.
struct FoundationJSON: Encodable {
  private let value: Any

  init(_ value: Any) { self.value = value }

  func encode(to encoder: any Encoder) throws {
    switch value {
    case let text as String:
      var container = encoder.singleValueContainer()
      try container.encode(text)
    case let number as NSNumber:
      var container = encoder.singleValueContainer()
      // Booleans are NSNumbers too; only their type tells them apart.
      if CFGetTypeID(number) == CFBooleanGetTypeID() {
        try container.encode(number.boolValue)
      } else if CFNumberIsFloatType(number) {
        try container.encode(number.doubleValue)
      } else {
        try container.encode(number.int64Value)
      }
    case let object as [String: Any]:
      var container = encoder.container(keyedBy: Key.self)
      for (key, element) in object {
        try container.encode(FoundationJSON(element), forKey: Key(key))
      }
    case let array as [Any]:
      var container = encoder.unkeyedContainer()
      for element in array { try container.encode(FoundationJSON(element)) }
    default:
      var container = encoder.singleValueContainer()
      try container.encodeNil()
    }
  }

  private struct Key: CodingKey {
    let stringValue: String
    var intValue: Int? { nil }
    init(_ text: String) { stringValue = text }
    init?(stringValue: String) { self.stringValue = stringValue }
    init?(intValue: Int) { return nil }
  }
}
