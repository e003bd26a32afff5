#pragma once

#include <utility>

#include "accounts/nimbra_account.h"

namespace corvessa {

/// How often the user is asked before an operation gives up.
inline constexpr int kPassphraseAttempts = 3;

/// A passphrase that the user has typed for an account and that the engine has yet to take: unless
/// it was accepted, nothing of it is kept, also when the engine fails as a call.
class PassphraseTrial {
 public:
  explicit PassphraseTrial(NimbraAccountPtr account) : account_(std::move(account)) {}
  ~PassphraseTrial() {
    if (accepted_) return;
    // A locked account is asked for once more.
    account_->SetAuthenticated(false);
    account_->m_sPassword.Clear();
  }
  PassphraseTrial(const PassphraseTrial&) = delete;
  PassphraseTrial& operator=(const PassphraseTrial&) = delete;

  void Accept() { accepted_ = true; }

 private:
  NimbraAccountPtr account_;
  bool accepted_ = false;
};

}  // namespace corvessa
