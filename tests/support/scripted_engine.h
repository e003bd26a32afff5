#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/error.h"
#include "platform/engine.h"

namespace corvessa::testing {

/// A plain vector behind the engine's vector interface.
class ScriptedStringVector final : public platform::IEngineStringVector {
 public:
  explicit ScriptedStringVector(std::vector<std::string> initial = {})
      : items(std::move(initial)) {}
  void Add(std::string_view text) override { items.emplace_back(text); }
  std::int32_t Size() const override { return static_cast<std::int32_t>(items.size()); }
  std::string Item(std::int16_t index) const override;

  std::vector<std::string> items;
};

/// An engine that does no cryptography: it records every call and answers what the test scripted,
/// for the paths that a real engine will not take on demand. Without a script a call answers status
/// 0 (1 for VerifyText and VerifyFile) and empty results.
class ScriptedEngine final : public platform::IEngine {
 public:
  /// One call as it came: the operation's name and its input arguments in order. A vector is given
  /// as its items joined by ", ", an account as its address ("" for none), a flag as "1" or "0".
  struct Call {
    std::string operation;
    std::vector<std::string> arguments;
    bool operator==(const Call&) const = default;
  };

  struct Answer {
    platform::EngineStatus status = 0;
    /// The operation's output text: out text, signature path, armour, plain text, signed content,
    /// last error.
    std::string text{};
    /// What goes into the first output vector (signers, ADKs) and the second one.
    std::vector<std::string> items{};
    std::vector<std::string> unknown_items{};
    /// Set: the call fails as a call, after `effect`.
    std::optional<Error> thrown{};
    /// Runs with the call's arguments before it answers: to write a file, to pump an event.
    std::function<void(const std::vector<std::string>&)> effect{};
  };

  /// What every call of the operation answers when nothing is queued for it.
  void Always(std::string operation, Answer answer);
  /// Queues one answer for the operation's next call that has none yet.
  void Once(std::string operation, Answer answer);
  /// Lets the nth call from now on (1 is the next one), whatever its operation, throw.
  void FailCall(std::size_t n, Error error);

  const std::vector<Call>& Calls() const { return calls_; }
  /// The calls' operations only, in order.
  std::vector<std::string> Operations() const;
  void ClearCalls() { calls_.clear(); }

  void SetOption(std::string_view name, std::string_view value) override;
  void InitEngine() override;
  platform::EngineStatus QueryKeyPair(std::string_view address, std::string& text) override;
  platform::EngineStatus AuthenticateAccount(std::string_view address,
                                             std::string_view passphrase) override;
  platform::EngineStatus SignFile(std::string_view path, std::string& signature_path) override;
  platform::EngineStatus SignText(std::string_view text, const platform::EngineAccount* account,
                                  std::string& signed_text) override;
  platform::EngineStatus EncryptText(const platform::IEngineStringVector& recipients,
                                     std::string_view text, std::string& armoured) override;
  platform::EngineStatus DecryptFileEx(std::string_view path,
                                       const platform::EngineAccount* account) override;
  platform::EngineStatus DecryptTextEx(std::string_view armoured,
                                       const platform::EngineAccount* account,
                                       std::string& plain) override;
  platform::EngineStatus VerifyText(std::string_view signed_text,
                                    platform::IEngineStringVector& signers,
                                    platform::IEngineStringVector& unknown_signers,
                                    std::string& content) override;
  platform::EngineStatus VerifyFile(std::string_view path, std::string_view signature_path,
                                    platform::IEngineStringVector& signers,
                                    platform::IEngineStringVector& unknown_signers) override;
  std::string GetEngineLastError() override;
  platform::EngineStatus EncryptFileToFile(const platform::IEngineStringVector& recipients,
                                           std::string_view path,
                                           std::string_view encrypted_path) override;
  void SetAnonymousMode(bool anonymous) override;
  platform::EngineStatus GetAddressADKs(std::string_view address,
                                        platform::IEngineStringVector& addresses) override;
  platform::EngineStatus GetRecipientADKs(std::string_view recipient,
                                          platform::IEngineStringVector& addresses) override;

 private:
  Answer Play(std::string_view operation, std::vector<std::string> arguments);
  Answer Next(const std::string& operation);

  std::map<std::string, Answer> always_;
  std::map<std::string, std::deque<Answer>> once_;
  std::map<std::size_t, Error> failing_calls_;
  std::size_t call_count_ = 0;
  std::vector<Call> calls_;
};

/// Hands out one scripted engine; counts and can refuse the creations.
class ScriptedEngineFactory final : public platform::EngineFactory {
 public:
  platform::EnginePtr CreateEngine() override;
  platform::EngineStringVectorPtr CreateStringVector() override;

  std::shared_ptr<ScriptedEngine> engine = std::make_shared<ScriptedEngine>();
  /// Set: CreateEngine throws it.
  std::optional<Error> refusal;
  int engines_created = 0;
};

}  // namespace corvessa::testing
