#include "system/process.h"

#include <gtest/gtest.h>

namespace corvessa::system {
namespace {

TEST(Process, MayLockTheMemoryOfSecrets) {
  EXPECT_TRUE(LockSecrets());
}

}  // namespace
}  // namespace corvessa::system
