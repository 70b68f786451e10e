// The user's and the content records' optional fields as Swift optionals.

extension KorvaneSdkUser {
  /// A user with a gender and a birth year, either of which may be absent.
  public convenience init(userId: String, gender: Gender? = nil, birthYear: Int? = nil) {
    switch (gender, birthYear) {
    case (let gender?, let birthYear?):
      self.init(__userId: userId, gender: gender, birthYear: birthYear)
    case (let gender?, nil): self.init(__userId: userId, gender: gender)
    case (nil, let birthYear?): self.init(__userId: userId, birthYear: birthYear)
    case (nil, nil): self.init(userId: userId)
    }
  }

  /// The user's gender, if one was given.
  public var gender: Gender? { __hasGender ? __gender : nil }
  /// The user's birth year, if one was given.
  public var birthYear: Int? { __hasBirthYear ? __birthYear : nil }
}

extension BannerInfoResponse {
  /// The image's width, if given.
  public var imageWidth: Int? { __imageWidth?.intValue }
  /// The image's height, if given.
  public var imageHeight: Int? { __imageHeight?.intValue }
}

extension Mission {
  /// Steps done, if counted.
  public var progress: Int? { __progress?.intValue }
  /// Steps in all, if counted.
  public var total: Int? { __total?.intValue }
  /// The mission's kind, if given.
  public var type: MissionType? { __type.flatMap { MissionType(rawValue: $0.rawValue) } }
  /// Where it stands in the list, if given.
  public var impressionOrder: Int? { __impressionOrder?.intValue }
}

extension MissionResponse {
  /// The backend's success flag, if sent.
  public var success: Bool? { __success?.boolValue }
}

extension QuizEvent {
  /// Whether the user completed the quiz, if sent.
  public var completed: Bool? { __completed?.boolValue }
  /// Where it stands in the list, if given.
  public var impressionOrder: Int? { __impressionOrder?.intValue }
}

extension QuizResponse {
  /// The backend's success flag, if sent.
  public var success: Bool? { __success?.boolValue }
  /// The completed-quiz image's width, if given.
  public var completedImageWidth: Int? { __completedImageWidth?.intValue }
  /// The completed-quiz image's height, if given.
  public var completedImageHeight: Int? { __completedImageHeight?.intValue }
}
