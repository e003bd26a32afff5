#pragma once

#include <utility>

#include "accounts/nimbra_account.h"

namespace corvessa {

/// How often the user is asked before an operation gives up.
inline constexpr int kPassphraseAttempts = 3;

/// A typed passphrase that the engine has not accepted yet. Unless Accept is called, the destructor
/// wipes it, also after an engine call that throws.
class PassphraseTrial {
 public:
  explicit PassphraseTrial(NimbraAccountPtr account) : account_(std::move(account)) {}
  ~PassphraseTrial() {
    if (accepted_) return;
    // The user is asked again for a locked account only.
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
