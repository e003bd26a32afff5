#include "accounts/user_management.h"

#include <gtest/gtest.h>

#include "accounts/nimbra_account.h"
#include "support/addin_fixture.h"

namespace corvessa {
namespace {

using namespace UserManagement;

using Accounts = testing::AddInFixture;

TEST_F(Accounts, AreAddedTrimmedAndInLowerCaseAndComparedExactly) {
  const NimbraAccountPtr ann = AddNimbraAccountUser("  Ann@Example.ORG ");
  ASSERT_TRUE(ann);
  EXPECT_EQ(ann->m_sAlias, "ann@example.org");
  EXPECT_FALSE(IsAccountAdded("ANN@example.org"));
  EXPECT_EQ(g_colAccounts.size(), 1U);
  EXPECT_EQ(GetNimbraAccountUser("ann@example.org"), ann);
  EXPECT_FALSE(GetNimbraAccountUser("Ann@example.org"));
  EXPECT_FALSE(GetNimbraAccountUser(" ann@example.org"));
  EXPECT_FALSE(AddNimbraAccount(std::make_shared<NimbraAccount>(*ann)));

  // One stored in capitals by other means is found as it stands and cannot be removed.
  auto capital = std::make_shared<NimbraAccount>();
  capital->m_sAlias = "Bob@example.org";
  EXPECT_TRUE(AddNimbraAccount(capital));
  EXPECT_EQ(GetNimbraAccountUser("Bob@example.org"), capital);
  EXPECT_FALSE(RemoveNimbraAccountUser("Bob@example.org"));
  EXPECT_TRUE(RemoveNimbraAccountUser(" ANN@example.org "));
  EXPECT_FALSE(RemoveNimbraAccountUser("ann@example.org"));
  EXPECT_EQ(g_colAccounts, NimbraAccounts{capital});
}

TEST_F(Accounts, AddressesAreValidBehindTheAtSignOnly) {
  for (const char* valid : {"a@b.c", "Any Thing!@x-1.org", "aa@.b", "@a.bc"}) {
    EXPECT_TRUE(IsValidEmailAddress(valid)) << valid;
  }
  for (const char* invalid : {"a@b.", "", "abcdef", "a@bcd", "a@b@c.d", "a@B.cd", "a@b_c.d",
                              "a@b.c d", "a@b.c\r\n", "a@b.é"}) {
    EXPECT_FALSE(IsValidEmailAddress(invalid)) << invalid;
  }
}

TEST_F(Accounts, ForgettingLocksAndWipesEveryOne) {
  for (const char* address : {"a@x.org", "b@x.org"}) AddNimbraAccountUser(address);
  EXPECT_TRUE(AreThereUnauthenticatedAccounts());
  for (const NimbraAccountPtr& account : g_colAccounts) {
    account->SetAuthenticated(true);
    account->m_sPassword.Assign("secret");
  }
  EXPECT_FALSE(AreThereUnauthenticatedAccounts());
  ForgetAllPassphrases();
  for (const NimbraAccountPtr& account : g_colAccounts) {
    EXPECT_FALSE(account->GetAuthenticated());
    EXPECT_TRUE(account->m_sPassword.IsEmpty());
  }
}

}  // namespace
}  // namespace corvessa
