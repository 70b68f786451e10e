#include "korvane/values/sdk_user.h"

#include <cstdlib>

namespace korvane {

KorvaneSdkUser::KorvaneSdkUser(std::string userId, std::optional<Gender> gender,
                               std::optional<int> birthYear)
    : userId_(std::move(userId)), gender_(gender), birthYear_(birthYear) {}

KorvaneSdkUser::KorvaneSdkUser(std::string userId) : userId_(std::move(userId)) {}

KorvaneSdkUser::KorvaneSdkUser(std::string userId, long genderValue, int birthYear)
    : userId_(std::move(userId)),
      gender_(genderValue == 0   ? Gender::male
              : genderValue == 1 ? Gender::female
                                 : Gender::other),
      birthYear_(birthYear) {}

std::optional<KorvaneSdkUser::Gender> genderFromRawValue(long rawValue) {
  if (rawValue < 0 || rawValue > 2) return std::nullopt;
  return static_cast<KorvaneSdkUser::Gender>(rawValue);
}

const char* stringValue(KorvaneSdkUser::Gender gender) {
  switch (gender) {
    case KorvaneSdkUser::Gender::male:
      return "M";
    case KorvaneSdkUser::Gender::female:
      return "F";
    case KorvaneSdkUser::Gender::other:
      return "O";
  }
  std::abort();  // a stored value outside the enumeration is a programming fault
}

const char* adjoeGenderWord(KorvaneSdkUser::Gender gender) {
  switch (gender) {
    case KorvaneSdkUser::Gender::male:
      return "male";
    case KorvaneSdkUser::Gender::female:
      return "female";
    case KorvaneSdkUser::Gender::other:
      return "unknown";
  }
  std::abort();
}

}  // namespace korvane
