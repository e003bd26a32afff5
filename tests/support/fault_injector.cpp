#include "support/fault_injector.h"

#include <utility>

#include "base/error.h"
#include "base/guard.h"

namespace corvessa::testing {
namespace {

using platform::RegistryKey;
using platform::RegistryKeyPtr;
using platform::RegistryStatus;

class FaultyKey final : public RegistryKey {
 public:
  FaultyKey(RegistryKey& real, FaultInjector& faults) : real_(real), faults_(faults) {}
  FaultyKey(RegistryKeyPtr owned, FaultInjector& faults)
      : owned_(std::move(owned)), real_(*owned_), faults_(faults) {}

  RegistryStatus Create(std::string_view path, RegistryKeyPtr& key) override {
    key.reset();
    if (Fails("RegistryKey::Create")) return platform::kRegistryAccessDenied;
    return Wrapped(key, [&] { return real_.Create(path, key); });
  }
  RegistryStatus Open(std::string_view path, RegistryKeyPtr& key) override {
    key.reset();
    if (Fails("RegistryKey::Open")) return platform::kRegistryAccessDenied;
    return Wrapped(key, [&] { return real_.Open(path, key); });
  }
  std::int32_t ReadNumber(std::string_view name) override {
    return Fails("RegistryKey::ReadNumber") ? 0 : real_.ReadNumber(name);
  }
  std::string ReadString(std::string_view name, std::size_t buffer_size) override {
    return Fails("RegistryKey::ReadString") ? std::string() : real_.ReadString(name, buffer_size);
  }
  RegistryStatus WriteNumber(std::string_view name, std::int32_t value) override {
    if (Fails("RegistryKey::WriteNumber")) return platform::kRegistryAccessDenied;
    return real_.WriteNumber(name, value);
  }
  RegistryStatus EnumerateKey(std::uint32_t index, std::string& name) override {
    if (Fails("RegistryKey::EnumerateKey")) return platform::kRegistryAccessDenied;
    return real_.EnumerateKey(index, name);
  }
  RegistryStatus DeleteKey(std::string_view path) override {
    if (Fails("RegistryKey::DeleteKey")) return platform::kRegistryAccessDenied;
    return real_.DeleteKey(path);
  }

 private:
  bool Fails(std::string_view call) const {
    return Attempt([&] { faults_(call); }).number != 0;
  }
  template <class Call>
  RegistryStatus Wrapped(RegistryKeyPtr& key, Call&& call) const {
    const RegistryStatus status = call();
    if (key) key = std::make_unique<FaultyKey>(std::move(key), faults_);
    return status;
  }

  RegistryKeyPtr owned_;
  RegistryKey& real_;
  FaultInjector& faults_;
};

class FaultyEngine final : public platform::IEngine {
 public:
  FaultyEngine(platform::EnginePtr real, FaultInjector& faults)
      : real_(std::move(real)), faults_(faults) {}

  void SetOption(std::string_view name, std::string_view value) override {
    Real("SetOption").SetOption(name, value);
  }
  void InitEngine() override { Real("InitEngine").InitEngine(); }
  platform::EngineStatus QueryKeyPair(std::string_view address, std::string& text) override {
    return Real("QueryKeyPair").QueryKeyPair(address, text);
  }
  platform::EngineStatus AuthenticateAccount(std::string_view address,
                                             std::string_view passphrase) override {
    return Real("AuthenticateAccount").AuthenticateAccount(address, passphrase);
  }
  platform::EngineStatus SignFile(std::string_view path, std::string& signature_path) override {
    return Real("SignFile").SignFile(path, signature_path);
  }
  platform::EngineStatus SignText(std::string_view text, const platform::EngineAccount* account,
                                  std::string& signed_text) override {
    return Real("SignText").SignText(text, account, signed_text);
  }
  platform::EngineStatus EncryptText(const platform::IEngineStringVector& recipients,
                                     std::string_view text, std::string& armoured) override {
    return Real("EncryptText").EncryptText(recipients, text, armoured);
  }
  platform::EngineStatus DecryptFileEx(std::string_view path,
                                       const platform::EngineAccount* account) override {
    return Real("DecryptFileEx").DecryptFileEx(path, account);
  }
  platform::EngineStatus DecryptTextEx(std::string_view armoured,
                                       const platform::EngineAccount* account,
                                       std::string& plain) override {
    return Real("DecryptTextEx").DecryptTextEx(armoured, account, plain);
  }
  platform::EngineStatus VerifyText(std::string_view signed_text,
                                    platform::IEngineStringVector& signers,
                                    platform::IEngineStringVector& unknown_signers,
                                    std::string& content) override {
    return Real("VerifyText").VerifyText(signed_text, signers, unknown_signers, content);
  }
  platform::EngineStatus VerifyFile(std::string_view path, std::string_view signature_path,
                                    platform::IEngineStringVector& signers,
                                    platform::IEngineStringVector& unknown_signers) override {
    return Real("VerifyFile").VerifyFile(path, signature_path, signers, unknown_signers);
  }
  std::string GetEngineLastError() override {
    return Real("GetEngineLastError").GetEngineLastError();
  }
  platform::EngineStatus EncryptFileToFile(const platform::IEngineStringVector& recipients,
                                           std::string_view path,
                                           std::string_view encrypted_path) override {
    return Real("EncryptFileToFile").EncryptFileToFile(recipients, path, encrypted_path);
  }
  void SetAnonymousMode(bool anonymous) override {
    Real("SetAnonymousMode").SetAnonymousMode(anonymous);
  }
  platform::EngineStatus GetAddressADKs(std::string_view address,
                                        platform::IEngineStringVector& addresses) override {
    return Real("GetAddressADKs").GetAddressADKs(address, addresses);
  }
  platform::EngineStatus GetRecipientADKs(std::string_view recipient,
                                          platform::IEngineStringVector& addresses) override {
    return Real("GetRecipientADKs").GetRecipientADKs(recipient, addresses);
  }

 private:
  platform::IEngine& Real(std::string_view call) const {
    faults_("IEngine::" + std::string(call));
    return *real_;
  }

  platform::EnginePtr real_;
  FaultInjector& faults_;
};

}  // namespace

void FaultInjector::FailAt(std::size_t n) {
  calls_ = 0;
  fail_at_ = n;
  failed_.clear();
}

void FaultInjector::operator()(std::string_view call) {
  if (++calls_ != fail_at_) return;
  failed_ = call;
  Raise(kPathFileAccess);
}

// The trace log is all that appends.
void FaultyFiles::AppendText(std::string_view path, std::string_view text) {
  real_.AppendText(path, text);
}

std::string FaultyFiles::Read(std::string_view path) {
  faults_("Files::Read");
  return real_.Read(path);
}

void FaultyFiles::Write(std::string_view path, std::string_view content) {
  faults_("Files::Write");
  real_.Write(path, content);
}

void FaultyFiles::Copy(std::string_view from, std::string_view to) {
  faults_("Files::Copy");
  real_.Copy(from, to);
}

void FaultyFiles::Delete(std::string_view path) {
  faults_("Files::Delete");
  real_.Delete(path);
}

bool FaultyFiles::FileExists(std::string_view path) {
  faults_("Files::FileExists");
  return real_.FileExists(path);
}

bool FaultyFiles::FolderExists(std::string_view path) {
  faults_("Files::FolderExists");
  return real_.FolderExists(path);
}

void FaultyFiles::CreateFolder(std::string_view path) {
  faults_("Files::CreateFolder");
  real_.CreateFolder(path);
}

void FaultyFiles::RemoveEmptyFolder(std::string_view path) {
  faults_("Files::RemoveEmptyFolder");
  real_.RemoveEmptyFolder(path);
}

std::vector<std::string> FaultyFiles::List(std::string_view folder) {
  faults_("Files::List");
  return real_.List(folder);
}

std::uint32_t FaultyFiles::Attributes(std::string_view path) {
  faults_("Files::Attributes");
  return real_.Attributes(path);
}

std::int64_t FaultyFiles::Length(std::string_view path) {
  faults_("Files::Length");
  return real_.Length(path);
}

std::string FaultyFiles::TemporaryFolder() {
  faults_("Files::TemporaryFolder");
  return real_.TemporaryFolder();
}

FaultyRegistry::FaultyRegistry(platform::Registry& real, FaultInjector& faults)
    : current_user_(std::make_unique<FaultyKey>(real.CurrentUser(), faults)),
      local_machine_(std::make_unique<FaultyKey>(real.LocalMachine(), faults)) {}

platform::EnginePtr FaultyEngineFactory::CreateEngine() {
  faults_("EngineFactory::CreateEngine");
  return std::make_shared<FaultyEngine>(real_.CreateEngine(), faults_);
}

platform::EngineStringVectorPtr FaultyEngineFactory::CreateStringVector() {
  faults_("EngineFactory::CreateStringVector");
  return real_.CreateStringVector();
}

}  // namespace corvessa::testing
