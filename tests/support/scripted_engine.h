#pragma once

#include <deque>
#include <initializer_list>
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
  std::string Item(std::int16_t index) const override {
    if (index < 0 || index >= Size()) Raise(kInvalidArgument);
    return items[static_cast<std::size_t>(index)];
  }

  std::vector<std::string> items;
};

/// An engine that does no cryptography: it records every call and answers what the test scripted,
/// for the paths that a real engine will not take on demand. Without a script a call answers status
/// 0 (1 for VerifyText and VerifyFile) and empty results.
class ScriptedEngine final : public platform::IEngine {
  using Status = platform::EngineStatus;
  using View = std::string_view;
  using Vector = platform::IEngineStringVector;
  using Account = platform::EngineAccount;

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
    /// Set: the call fails as a call.
    std::optional<Error> thrown{};
  };

  /// What every call of the operation answers when nothing is queued for it.
  void Always(const std::string& operation, Answer answer) {
    always_[operation] = std::move(answer);
  }
  /// Queues one answer for the operation's next call that has none yet.
  void Once(const std::string& operation, Answer answer) {
    once_[operation].push_back(std::move(answer));
  }

  const std::vector<Call>& Calls() const { return calls_; }
  /// The calls' operations only, in order.
  std::vector<std::string> Operations() const;
  void ClearCalls() { calls_.clear(); }

  void SetOption(View name, View value) override { Play("SetOption", {name, value}); }
  void InitEngine() override { Play("InitEngine", {}); }
  Status QueryKeyPair(View address, std::string& text) override {
    return Play("QueryKeyPair", {address}, &text);
  }
  Status AuthenticateAccount(View address, View passphrase) override {
    return Play("AuthenticateAccount", {address, passphrase});
  }
  Status SignFile(View path, std::string& signature_path) override {
    return Play("SignFile", {path}, &signature_path);
  }
  Status SignText(View text, const Account* account, std::string& signed_text) override {
    return Play("SignText", {text, AddressOf(account)}, &signed_text);
  }
  Status EncryptText(const Vector& recipients, View text, std::string& armoured) override {
    return Play("EncryptText", {Joined(recipients), text}, &armoured);
  }
  Status DecryptFileEx(View path, const Account* account) override {
    return Play("DecryptFileEx", {path, AddressOf(account)});
  }
  Status DecryptTextEx(View armoured, const Account* account, std::string& plain) override {
    return Play("DecryptTextEx", {armoured, AddressOf(account)}, &plain);
  }
  Status VerifyText(View signed_text, Vector& signers, Vector& unknown_signers,
                    std::string& content) override {
    return Play("VerifyText", {signed_text}, &content, &signers, &unknown_signers);
  }
  Status VerifyFile(View path, View signature_path, Vector& signers,
                    Vector& unknown_signers) override {
    return Play("VerifyFile", {path, signature_path}, nullptr, &signers, &unknown_signers);
  }
  std::string GetEngineLastError() override {
    std::string text;
    Play("GetEngineLastError", {}, &text);
    return text;
  }
  Status EncryptFileToFile(const Vector& recipients, View path, View encrypted_path) override {
    return Play("EncryptFileToFile", {Joined(recipients), path, encrypted_path});
  }
  void SetAnonymousMode(bool anonymous) override {
    Play("SetAnonymousMode", {anonymous ? "1" : "0"});
  }
  Status GetAddressADKs(View address, Vector& addresses) override {
    return Play("GetAddressADKs", {address}, nullptr, &addresses);
  }
  Status GetRecipientADKs(View recipient, Vector& addresses) override {
    return Play("GetRecipientADKs", {recipient}, nullptr, &addresses);
  }
  // Not recorded: most tests are about the operations.
  void SetDeclaredCharset(View charset) override { declared_charset = charset; }
  void SetMessagePassphrase(View passphrase) override { message_passphrase = passphrase; }
  Status OpenSignedText(View /*text*/, std::string& signed_text) override {
    if (opened_text.empty()) return platform::engine_status::kBadFormat;
    signed_text = opened_text;
    return 0;
  }
  Status DecryptSignedFile(View path, const Account* account, bool& is_signed) override {
    is_signed = false;
    return DecryptFileEx(path, account);
  }
  platform::EngineTrouble GetTrouble() override { return trouble; }

  std::string declared_charset;
  std::string message_passphrase;
  std::string opened_text;  ///< what OpenSignedText opens; it opens nothing while this is empty
  platform::EngineTrouble trouble;

 private:
  static std::string Joined(const Vector& vector);
  static View AddressOf(const Account* account) {
    return account ? View(account->address) : View();
  }
  Status Play(const std::string& operation, std::initializer_list<View> arguments,
              std::string* text = nullptr, Vector* items = nullptr, Vector* unknown = nullptr);

  std::map<std::string, Answer> always_;
  std::map<std::string, std::deque<Answer>> once_;
  std::vector<Call> calls_;
};

/// Hands out one scripted engine; counts and can refuse the creations.
class ScriptedEngineFactory final : public platform::EngineFactory {
 public:
  platform::EnginePtr CreateEngine() override {
    ++engines_created;
    if (refusal) throw Error(*refusal);
    return engine;
  }
  platform::EngineStringVectorPtr CreateStringVector() override {
    return std::make_shared<ScriptedStringVector>();
  }

  std::shared_ptr<ScriptedEngine> engine = std::make_shared<ScriptedEngine>();
  /// Set: CreateEngine throws it.
  std::optional<Error> refusal;
  int engines_created = 0;
};

}  // namespace corvessa::testing
