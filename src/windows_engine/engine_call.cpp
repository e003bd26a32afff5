#include "windows_engine/engine_call.h"

#include "base/secret_string.h"
#include "win32/utf16.h"
#include "windows/com/bstr.h"
#include "windows/com/dispatch.h"

namespace corvessa::windows {
namespace {

template <typename Result>
bool Set(Result* place, Result value) {
  if (place) *place = value;
  return place != nullptr;
}

}  // namespace

EngineCall::~EngineCall() {
  for (std::string* const secret : {&text, &second_text, &result}) WipeText(*secret);
}

EngineCallPtr MakeCall(BSTR text, BSTR second_text) {
  auto call = std::make_shared<EngineCall>();
  call->text = com::TextOf(text);
  call->second_text = com::TextOf(second_text);
  return call;
}

std::optional<platform::EngineAccount> AccountOf(IDispatch* account) {
  if (!account) return std::nullopt;
  const com::Dispatch object(account);
  return platform::EngineAccount{object.GetProperty("m_sAlias").Text()};
}

platform::EngineStringVectorPtr RecipientsOf(IEngineStringVector* recipients) {
  auto copy = engine::CreateStringVector();
  for (const auto& recipient : ItemsOf(recipients)) copy->Add(recipient);
  return copy;
}

std::vector<std::string> ToVector(const platform::IEngineStringVector& items) {
  std::vector<std::string> copy;
  for (std::int32_t i = 0; i < items.Size(); ++i) {
    copy.push_back(items.Item(static_cast<std::int16_t>(i)));
  }
  return copy;
}

void Give(std::string_view text, BSTR* result) {
  if (win32::Utf16Size(text)) {
    *result = com::Bstr(text).Release();
  } else {
    *result = com::Bstr(win32::ShownUtf8(win32::ShownUtf16(text))).Release();
  }
}

bool Clear(LONG* status) {
  return Set(status, LONG{platform::engine_status::kUnexpected});
}

bool Clear(BSTR* text) {
  return Set(text, BSTR{});
}

bool Clear(double* number) {
  return Set(number, 0.0);
}

bool Clear(VARIANT_BOOL* flag) {
  return Set(flag, VARIANT_BOOL{VARIANT_FALSE});
}

bool Clear(NimbraKeyFlags* flags) {
  return Set(flags, NimbraKeyFlags{});
}

bool Clear(IEngineStringVector** vector) {
  return Provide(vector);
}

}  // namespace corvessa::windows
