#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/secret_string.h"
#include "engine/engine.h"
#include "windows_engine/string_vector.h"

/// What stands between a method of the engine object and the operation on the worker.
namespace corvessa::windows {

/// What an operation reads and writes, apart from the memory of the caller because it may outlive
/// the call. The texts are wiped at the end.
struct EngineCall {
  EngineCall() = default;
  EngineCall(const EngineCall&) = delete;
  EngineCall& operator=(const EngineCall&) = delete;
  ~EngineCall();

  const platform::EngineAccount* Account() const { return account ? &*account : nullptr; }

  std::string text;
  std::string second_text;
  SecretString passphrase;
  std::optional<platform::EngineAccount> account;
  platform::EngineStringVectorPtr recipients;
  std::string result;
  bool is_signed = false;
  platform::EngineStringVectorPtr items = engine::CreateStringVector();
  platform::EngineStringVectorPtr second_items = engine::CreateStringVector();
  std::vector<engine::KeyInfo> keys;
};
using EngineCallPtr = std::shared_ptr<EngineCall>;

EngineCallPtr MakeCall(BSTR text, BSTR second_text = nullptr);

/// The address of a caller's account; none for Nothing. Throws Error for what is no account.
std::optional<platform::EngineAccount> AccountOf(IDispatch* account);
platform::EngineStringVectorPtr RecipientsOf(IEngineStringVector* recipients);
std::vector<std::string> ToVector(const platform::IEngineStringVector& items);

/// Gives a text of the engine to the caller. What somebody has encrypted may be no text in any
/// charset; such bytes become U+FFFD.
void Give(std::string_view text, BSTR* result);

/// Sets a result to what it is when nothing comes of the call: empty texts, the caller's vector as
/// it is or an empty one, status -11. False when the caller has no place for it.
bool Clear(LONG* status);
bool Clear(BSTR* text);
bool Clear(double* number);
bool Clear(VARIANT_BOOL* flag);
bool Clear(NimbraKeyFlags* flags);
bool Clear(IEngineStringVector** vector);

/// All of them, also when one has no place.
template <typename... Results>
bool ClearAll(Results*... results) {
  return (static_cast<unsigned>(Clear(results)) & ...) != 0;
}

}  // namespace corvessa::windows
