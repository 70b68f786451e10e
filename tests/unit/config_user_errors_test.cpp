#include <gtest/gtest.h>

#include "korvane/korvane.h"
#include "log_capture.h"

namespace korvane {
namespace {

using Environment = KorvaneSdkConfig::Environment;
using Gender = KorvaneSdkUser::Gender;

TEST(KorvaneSdkConfig, BuilderDefaults) {
  const KorvaneSdkConfig config = KorvaneSdkConfig::Builder(" key ", "secret").build();
  EXPECT_EQ(config.appKey(), " key ") << "no trimming";
  EXPECT_EQ(config.appSecret(), "secret");
  EXPECT_EQ(config.environment(), Environment::production);
  EXPECT_EQ(config.timeoutMillis(), 30000);
  EXPECT_FALSE(config.adjoeEnabled());
  EXPECT_EQ(config.adjoeSdkHash(), std::nullopt);
}

TEST(KorvaneSdkConfig, EmptyKeyOrSecretIsLoggedButStillBuilds) {
  struct Case {
    std::string key, secret;
    std::vector<std::string> expected;
  };
  const Case cases[] = {
      {"", "s", {"[E/KorvaneSdkConfig] App Key is empty - initialization will fail"}},
      {"k", "", {"[E/KorvaneSdkConfig] App Secret is empty - initialization will fail"}},
      {"",
       "",
       {"[E/KorvaneSdkConfig] App Key is empty - initialization will fail",
        "[E/KorvaneSdkConfig] App Secret is empty - initialization will fail"}},
      {" ", "k", {}},
  };
  for (const Case& c : cases) {
    testing::LogCapture capture;
    const KorvaneSdkConfig config = KorvaneSdkConfig::Builder(c.key, c.secret).build();
    EXPECT_EQ(config.appKey(), c.key);
    EXPECT_EQ(capture.messages(), c.expected)
        << "key '" << c.key << "' secret '" << c.secret << "'";
  }
}

TEST(KorvaneSdkConfig, BuiltConfigurationIgnoresLaterBuilderChanges) {
  KorvaneSdkConfig::Builder builder("k", "s");
  builder.setEnvironment(Environment::staging).setTimeoutMillis(-5).enableAdjoe("hash");
  const KorvaneSdkConfig first = builder.build();
  builder.disableAdjoe().setTimeoutMillis(0).setEnvironment(Environment::development);
  const KorvaneSdkConfig second = builder.build();

  EXPECT_EQ(first.environment(), Environment::staging);
  EXPECT_EQ(first.timeoutMillis(), -5) << "stored unchanged";
  EXPECT_TRUE(first.adjoeEnabled());
  EXPECT_EQ(first.adjoeSdkHash(), "hash");
  EXPECT_EQ(second.timeoutMillis(), 0);
  EXPECT_FALSE(second.adjoeEnabled());
  EXPECT_EQ(second.adjoeSdkHash(), std::nullopt) << "disableAdjoe clears the hash too";
}

TEST(KorvaneSdkConfig, ApiBaseUrlFollowsEnvironmentUnlessOverridden) {
  const auto url = [](Environment environment) {
    return KorvaneSdkConfig::Builder("k", "s").setEnvironment(environment).build().apiBaseUrl();
  };
  const std::string production = url(Environment::production);
  const std::string staging = url(Environment::staging);
  EXPECT_NE(production, staging);
  EXPECT_EQ(url(Environment::development), staging);
  EXPECT_EQ(production.rfind("https://", 0), 0u);
  EXPECT_NE(production.back(), '/') << "paths are appended as text";

  const KorvaneSdkConfig local =
      KorvaneSdkConfig::Builder("k", "s").setApiBaseUrl("http://127.0.0.1:8080").build();
  EXPECT_EQ(local.apiBaseUrl(), "http://127.0.0.1:8080");
  EXPECT_TRUE(local.hasApiBaseUrlOverride());
}

TEST(RawValues, OnlyDocumentedValuesConstruct) {
  for (long raw : {-1L, 0L, 1L, 2L, 3L, 4L, 99L}) {
    SCOPED_TRACE(raw);
    const bool inThree = raw >= 0 && raw <= 2;
    EXPECT_EQ(environmentFromRawValue(raw).has_value(), inThree);
    EXPECT_EQ(genderFromRawValue(raw).has_value(), inThree);
    EXPECT_EQ(loginErrorFromRawValue(raw).has_value(), raw >= 0 && raw <= 3);
    if (inThree) {
      EXPECT_EQ(static_cast<long>(*environmentFromRawValue(raw)), raw);
      EXPECT_EQ(static_cast<long>(*genderFromRawValue(raw)), raw);
    }
  }
}

TEST(KorvaneSdkUser, GenderValueConstructorMapsEveryIntegerAndKeepsTheYear) {
  const std::pair<long, Gender> cases[] = {{0, Gender::male},
                                           {1, Gender::female},
                                           {2, Gender::other},
                                           {7, Gender::other},
                                           {-1, Gender::other}};
  for (const auto& [value, gender] : cases) {
    const KorvaneSdkUser user("u", value, 0);
    EXPECT_EQ(user.gender(), gender) << value;
    EXPECT_EQ(user.birthYear(), 0) << "always stored, zero included";
  }
  const KorvaneSdkUser plain("u");
  EXPECT_EQ(plain.gender(), std::nullopt);
  EXPECT_EQ(plain.birthYear(), std::nullopt);
  EXPECT_EQ(KorvaneSdkUser("u", Gender::female, std::nullopt).gender(), Gender::female);
}

TEST(KorvaneSdkUser, GenderTexts) {
  const std::tuple<Gender, std::string, std::string> cases[] = {{Gender::male, "M", "male"},
                                                                {Gender::female, "F", "female"},
                                                                {Gender::other, "O", "unknown"}};
  for (const auto& [gender, letter, word] : cases) {
    EXPECT_EQ(stringValue(gender), letter);
    EXPECT_EQ(adjoeGenderWord(gender), word);
  }
}

TEST(PublicErrors, CasesKeepTheirOrderAndTexts) {
  const std::pair<KorvaneAdError, std::string> adErrors[] = {
      {KorvaneAdError::notInitialized, "SDK not initialized"},
      {KorvaneAdError::loadFailed, "Failed to load ad"},
      {KorvaneAdError::networkError, "Network error occurred"},
      {KorvaneAdError::noFill, "No ads available"},
      {KorvaneAdError::unknown, "Unknown error occurred"}};
  long index = 0;
  for (const auto& [error, text] : adErrors) {
    EXPECT_EQ(localizedDescription(error), text);
    EXPECT_EQ(toError(error).code, index++);
    EXPECT_EQ(toError(error).description, text);
  }
  const std::pair<long, std::string> loginErrors[] = {{0, "SDK is not initialized"},
                                                      {1, "User ID cannot be empty"},
                                                      {2, "Network error occurred"},
                                                      {3, "Unknown error occurred"}};
  for (const auto& [raw, text] : loginErrors)
    EXPECT_EQ(description(*loginErrorFromRawValue(raw)), text);
}

}  // namespace
}  // namespace korvane
