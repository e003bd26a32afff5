#pragma once

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "engine/profile.h"

namespace corvessa::engine {

/// Keys made once, for other profiles to import.
class RingsTest : public ::testing::Test {
 protected:
  static constexpr int kKeys = 5;
  static void SetUpTestSuite() {
    donor = new Profile;
    for (int i = 0; i < kKeys; ++i) donor->Generate(Address(i));
  }
  static void TearDownTestSuite() { delete donor; }
  static std::string Address(int i) { return "user" + std::to_string(i) + "@example.org"; }

  /// The addresses of the rings as a fresh session sees them, in ring order.
  static std::vector<std::string> Listed(Profile& profile) {
    std::vector<KeyInfo> keys;
    EXPECT_EQ(profile.Reopened().upkeep->ListKeys(keys), 0);
    std::vector<std::string> addresses;
    for (const auto& key : keys) addresses.push_back(key.addresses.front());
    return addresses;
  }
  static std::vector<std::string> Addresses(std::initializer_list<int> numbers) {
    std::vector<std::string> addresses;
    for (const int number : numbers) addresses.push_back(Address(number));
    return addresses;
  }
  static inline Profile* donor = nullptr;
};

}  // namespace corvessa::engine
