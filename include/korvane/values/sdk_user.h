#pragma once

#include <optional>
#include <string>

namespace korvane {

// The logged-in user as the host describes it. Immutable.
class KorvaneSdkUser {
 public:
  enum class Gender : int { male = 0, female = 1, other = 2 };

  KorvaneSdkUser(std::string userId, std::optional<Gender> gender, std::optional<int> birthYear);
  explicit KorvaneSdkUser(std::string userId);
  // The integer form: 0 is male, 1 female, anything else other; the birth year is always stored.
  KorvaneSdkUser(std::string userId, long genderValue, int birthYear);

  const std::string& userId() const { return userId_; }
  const std::optional<Gender>& gender() const { return gender_; }
  const std::optional<int>& birthYear() const { return birthYear_; }

  friend bool operator==(const KorvaneSdkUser&, const KorvaneSdkUser&) = default;

 private:
  std::string userId_;
  std::optional<Gender> gender_;
  std::optional<int> birthYear_;
};

// Gender from its raw value; nothing for values outside 0...2.
std::optional<KorvaneSdkUser::Gender> genderFromRawValue(long rawValue);
// The one-letter text the backend receives: "M", "F" or "O".
const char* stringValue(KorvaneSdkUser::Gender gender);
// The word the adjoe offerwall receives: "male", "female" or "unknown".
const char* adjoeGenderWord(KorvaneSdkUser::Gender gender);

}  // namespace korvane
