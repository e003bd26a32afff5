#include "windows/engine/com_engine.h"

#include "windows/com/bstr.h"
#include "windows/com/create.h"
#include "windows/com/errors.h"
#include "windows/engine/account_object.h"
#include "windows/engine/com_string_vector.h"

namespace corvessa::windows {
namespace {

using com::Bstr;
using platform::engine_status::kDone;
using platform::engine_status::kGoodSignature;

class ComEngineFactory final : public platform::EngineFactory {
 public:
  platform::EnginePtr CreateEngine() override {
    return std::make_shared<ComEngine>(
        com::CreateByProgId<INimbraEncryptionEngine>(L"NimbraEncryptionEngine.Engine"));
  }
  platform::EngineStringVectorPtr CreateStringVector() override {
    return std::make_shared<ComStringVector>();
  }
};

}  // namespace

std::unique_ptr<platform::EngineFactory> CreateComEngineFactory() {
  return std::make_unique<ComEngineFactory>();
}

void ComEngine::Check(HRESULT result) const {
  com::Check(result, component_.Get(), __uuidof(INimbraEncryptionEngine));
}

void ComEngine::SetOption(std::string_view name, std::string_view value) {
  Check(component_->SetOption(Bstr(name).Get(), Bstr(value).Get()));
}

void ComEngine::InitEngine() {
  LONG ignored = 0;
  Check(component_->InitEngine(&ignored));
}

platform::EngineStatus ComEngine::QueryKeyPair(std::string_view address, std::string& text) {
  Bstr result;
  LONG status = 0;
  Check(component_->QueryKeyPair(Bstr(address).Get(), result.Receive(), &status));
  if (status == kDone) text = result.Text();
  return status;
}

platform::EngineStatus ComEngine::AuthenticateAccount(std::string_view address,
                                                      std::string_view passphrase) {
  LONG status = 0;
  Check(component_->AuthenticateAccount(Bstr(address).Get(), Bstr(passphrase).Get(), &status));
  return status;
}

platform::EngineStatus ComEngine::SignFile(std::string_view path, std::string& signature_path) {
  Bstr result;
  LONG status = 0;
  Check(component_->SignFile(Bstr(path).Get(), result.Receive(), &status));
  if (status == kDone) signature_path = result.Text();
  return status;
}

platform::EngineStatus ComEngine::SignText(std::string_view text,
                                           const platform::EngineAccount* account,
                                           std::string& signed_text) {
  Bstr result;
  LONG status = 0;
  const auto object = AccountObjectOf(account);
  Check(component_->SignText(Bstr(text).Get(), object.Get(), result.Receive(), &status));
  if (status == kDone) signed_text = result.Text();
  return status;
}

platform::EngineStatus ComEngine::EncryptText(const platform::IEngineStringVector& recipients,
                                              std::string_view text, std::string& armoured) {
  Bstr result;
  LONG status = 0;
  Check(component_->EncryptText(ComVectorOf(recipients).Get(), Bstr(text).Get(), result.Receive(),
                                &status));
  if (status == kDone) armoured = result.Text();
  return status;
}

platform::EngineStatus ComEngine::DecryptFileEx(std::string_view path,
                                                const platform::EngineAccount* account) {
  LONG status = 0;
  const auto object = AccountObjectOf(account);
  Check(component_->DecryptFileEx(Bstr(path).Get(), object.Get(), &status));
  return status;
}

platform::EngineStatus ComEngine::DecryptTextEx(std::string_view armoured,
                                                const platform::EngineAccount* account,
                                                std::string& plain) {
  Bstr result;
  LONG status = 0;
  const auto object = AccountObjectOf(account);
  Check(component_->DecryptTextEx(Bstr(armoured).Get(), object.Get(), result.Receive(), &status));
  if (status == kDone) plain = result.Text();
  return status;
}

platform::EngineStatus ComEngine::VerifyText(std::string_view signed_text,
                                             platform::IEngineStringVector& signers,
                                             platform::IEngineStringVector& unknown_signers,
                                             std::string& content) {
  FilledVector known(signers);
  FilledVector unknown(unknown_signers);
  Bstr result;
  LONG status = 0;
  Check(component_->VerifyText(Bstr(signed_text).Get(), known.Argument(), unknown.Argument(),
                               result.Receive(), &status));
  known.Finish();
  unknown.Finish();
  if (status == kGoodSignature) content = result.Text();
  return status;
}

platform::EngineStatus ComEngine::VerifyFile(std::string_view path, std::string_view signature_path,
                                             platform::IEngineStringVector& signers,
                                             platform::IEngineStringVector& unknown_signers) {
  FilledVector known(signers);
  FilledVector unknown(unknown_signers);
  LONG status = 0;
  Check(component_->VerifyFile(Bstr(path).Get(), Bstr(signature_path).Get(), known.Argument(),
                               unknown.Argument(), &status));
  known.Finish();
  unknown.Finish();
  return status;
}

std::string ComEngine::GetEngineLastError() {
  Bstr text;
  Check(component_->GetEngineLastError(text.Receive()));
  return text.Text();
}

platform::EngineStatus ComEngine::EncryptFileToFile(const platform::IEngineStringVector& recipients,
                                                    std::string_view path,
                                                    std::string_view encrypted_path) {
  Bstr place(encrypted_path);
  LONG status = 0;
  Check(component_->EncryptFileToFile(ComVectorOf(recipients).Get(), Bstr(path).Get(),
                                      place.Exchange(), &status));
  return status;
}

void ComEngine::SetAnonymousMode(bool anonymous) {
  Check(component_->SetAnonymousMode(anonymous ? VARIANT_TRUE : VARIANT_FALSE));
}

platform::EngineStatus ComEngine::GetAddressADKs(std::string_view address,
                                                 platform::IEngineStringVector& addresses) {
  FilledVector found(addresses);
  LONG status = 0;
  Check(component_->GetAddressADKs(Bstr(address).Get(), found.Argument(), &status));
  found.Finish();
  return status;
}

platform::EngineStatus ComEngine::GetRecipientADKs(std::string_view recipient,
                                                   platform::IEngineStringVector& addresses) {
  FilledVector found(addresses);
  LONG status = 0;
  Check(component_->GetRecipientADKs(Bstr(recipient).Get(), found.Argument(), &status));
  found.Finish();
  return status;
}

void ComEngine::CheckReading(HRESULT result) const {
  com::Check(result, reading_.Get(), __uuidof(INimbraMailReading));
}

void ComEngine::SetDeclaredCharset(std::string_view charset) {
  if (reading_) CheckReading(reading_->SetDeclaredCharset(Bstr(charset).Get()));
}

void ComEngine::SetMessagePassphrase(std::string_view passphrase) {
  if (reading_) CheckReading(reading_->SetMessagePassphrase(Bstr(passphrase).Get()));
}

platform::EngineStatus ComEngine::OpenSignedText(std::string_view armoured,
                                                 std::string& signed_text) {
  if (!reading_) return platform::engine_status::kBadFormat;
  Bstr result;
  LONG status = 0;
  CheckReading(reading_->OpenSignedText(Bstr(armoured).Get(), result.Receive(), &status));
  if (status == kDone) signed_text = result.Text();
  return status;
}

platform::EngineStatus ComEngine::DecryptSignedFile(std::string_view path,
                                                    const platform::EngineAccount* account,
                                                    bool& is_signed) {
  is_signed = false;
  if (!reading_) return DecryptFileEx(path, account);
  VARIANT_BOOL found = VARIANT_FALSE;
  LONG status = 0;
  const auto object = AccountObjectOf(account);
  CheckReading(reading_->DecryptSignedFile(Bstr(path).Get(), object.Get(), &found, &status));
  is_signed = found != VARIANT_FALSE;
  return status;
}

platform::EngineTrouble ComEngine::GetTrouble() {
  platform::EngineTrouble trouble;
  if (!reading_) return trouble;
  ComStringVector key_ids;
  Bstr reason;
  Bstr address;
  auto* vector = key_ids.Get();
  CheckReading(reading_->GetTrouble(reason.Receive(), &vector, address.Receive()));
  trouble.reason = reason.Text();
  trouble.address = address.Text();
  for (std::int32_t i = 0; i < key_ids.Size(); ++i) {
    trouble.key_ids.push_back(key_ids.Item(static_cast<std::int16_t>(i)));
  }
  return trouble;
}

}  // namespace corvessa::windows
