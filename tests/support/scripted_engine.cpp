#include "support/scripted_engine.h"

#include <utility>

namespace corvessa::testing {
namespace {

using platform::EngineStatus;

std::string Joined(const platform::IEngineStringVector& vector) {
  std::string joined;
  for (std::int32_t i = 0; i < vector.Size(); ++i) {
    if (i > 0) joined += ", ";
    joined += vector.Item(static_cast<std::int16_t>(i));
  }
  return joined;
}

std::string AddressOf(const platform::EngineAccount* account) {
  return account ? account->address : std::string();
}

void Fill(platform::IEngineStringVector& vector, const std::vector<std::string>& items) {
  for (const auto& item : items) vector.Add(item);
}

}  // namespace

std::string ScriptedStringVector::Item(std::int16_t index) const {
  if (index < 0 || index >= Size()) Raise(kInvalidArgument);
  return items[static_cast<std::size_t>(index)];
}

void ScriptedEngine::Always(std::string operation, Answer answer) {
  always_[std::move(operation)] = std::move(answer);
}

void ScriptedEngine::Once(std::string operation, Answer answer) {
  once_[std::move(operation)].push_back(std::move(answer));
}

void ScriptedEngine::FailCall(std::size_t n, Error error) {
  failing_calls_[call_count_ + n] = std::move(error);
}

std::vector<std::string> ScriptedEngine::Operations() const {
  std::vector<std::string> operations;
  for (const auto& call : calls_) operations.push_back(call.operation);
  return operations;
}

ScriptedEngine::Answer ScriptedEngine::Next(const std::string& operation) {
  if (auto& queue = once_[operation]; !queue.empty()) {
    Answer answer = std::move(queue.front());
    queue.pop_front();
    return answer;
  }
  if (const auto found = always_.find(operation); found != always_.end()) return found->second;
  Answer good;
  good.status = operation == "VerifyText" || operation == "VerifyFile" ? 1 : 0;
  return good;
}

ScriptedEngine::Answer ScriptedEngine::Play(std::string_view operation,
                                            std::vector<std::string> arguments) {
  calls_.push_back({std::string(operation), arguments});
  if (const auto failing = failing_calls_.find(++call_count_); failing != failing_calls_.end()) {
    throw failing->second;
  }
  Answer answer = Next(std::string(operation));
  if (answer.effect) answer.effect(arguments);
  if (answer.thrown) throw *answer.thrown;
  return answer;
}

void ScriptedEngine::SetOption(std::string_view name, std::string_view value) {
  Play("SetOption", {std::string(name), std::string(value)});
}

void ScriptedEngine::InitEngine() {
  Play("InitEngine", {});
}

EngineStatus ScriptedEngine::QueryKeyPair(std::string_view address, std::string& text) {
  const Answer answer = Play("QueryKeyPair", {std::string(address)});
  text = answer.text;
  return answer.status;
}

EngineStatus ScriptedEngine::AuthenticateAccount(std::string_view address,
                                                 std::string_view passphrase) {
  return Play("AuthenticateAccount", {std::string(address), std::string(passphrase)}).status;
}

EngineStatus ScriptedEngine::SignFile(std::string_view path, std::string& signature_path) {
  const Answer answer = Play("SignFile", {std::string(path)});
  signature_path = answer.text;
  return answer.status;
}

EngineStatus ScriptedEngine::SignText(std::string_view text, const platform::EngineAccount* account,
                                      std::string& signed_text) {
  const Answer answer = Play("SignText", {std::string(text), AddressOf(account)});
  signed_text = answer.text;
  return answer.status;
}

EngineStatus ScriptedEngine::EncryptText(const platform::IEngineStringVector& recipients,
                                         std::string_view text, std::string& armoured) {
  const Answer answer = Play("EncryptText", {Joined(recipients), std::string(text)});
  armoured = answer.text;
  return answer.status;
}

EngineStatus ScriptedEngine::DecryptFileEx(std::string_view path,
                                           const platform::EngineAccount* account) {
  return Play("DecryptFileEx", {std::string(path), AddressOf(account)}).status;
}

EngineStatus ScriptedEngine::DecryptTextEx(std::string_view armoured,
                                           const platform::EngineAccount* account,
                                           std::string& plain) {
  const Answer answer = Play("DecryptTextEx", {std::string(armoured), AddressOf(account)});
  plain = answer.text;
  return answer.status;
}

EngineStatus ScriptedEngine::VerifyText(std::string_view signed_text,
                                        platform::IEngineStringVector& signers,
                                        platform::IEngineStringVector& unknown_signers,
                                        std::string& content) {
  const Answer answer = Play("VerifyText", {std::string(signed_text)});
  Fill(signers, answer.items);
  Fill(unknown_signers, answer.unknown_items);
  content = answer.text;
  return answer.status;
}

EngineStatus ScriptedEngine::VerifyFile(std::string_view path, std::string_view signature_path,
                                        platform::IEngineStringVector& signers,
                                        platform::IEngineStringVector& unknown_signers) {
  const Answer answer = Play("VerifyFile", {std::string(path), std::string(signature_path)});
  Fill(signers, answer.items);
  Fill(unknown_signers, answer.unknown_items);
  return answer.status;
}

std::string ScriptedEngine::GetEngineLastError() {
  return Play("GetEngineLastError", {}).text;
}

EngineStatus ScriptedEngine::EncryptFileToFile(const platform::IEngineStringVector& recipients,
                                               std::string_view path,
                                               std::string_view encrypted_path) {
  return Play("EncryptFileToFile",
              {Joined(recipients), std::string(path), std::string(encrypted_path)})
      .status;
}

void ScriptedEngine::SetAnonymousMode(bool anonymous) {
  Play("SetAnonymousMode", {anonymous ? "1" : "0"});
}

EngineStatus ScriptedEngine::GetAddressADKs(std::string_view address,
                                            platform::IEngineStringVector& addresses) {
  const Answer answer = Play("GetAddressADKs", {std::string(address)});
  Fill(addresses, answer.items);
  return answer.status;
}

EngineStatus ScriptedEngine::GetRecipientADKs(std::string_view recipient,
                                              platform::IEngineStringVector& addresses) {
  const Answer answer = Play("GetRecipientADKs", {std::string(recipient)});
  Fill(addresses, answer.items);
  return answer.status;
}

platform::EnginePtr ScriptedEngineFactory::CreateEngine() {
  ++engines_created;
  if (refusal) throw *refusal;
  return engine;
}

platform::EngineStringVectorPtr ScriptedEngineFactory::CreateStringVector() {
  return std::make_shared<ScriptedStringVector>();
}

}  // namespace corvessa::testing
