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
  FaultyKey(RegistryKey& real, FaultInjector& faults, RegistryKeyPtr owned = nullptr)
      : owned_(std::move(owned)), real_(real), faults_(faults) {}

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
  template <typename Call>
  RegistryStatus Wrapped(RegistryKeyPtr& key, Call&& call) const {
    const RegistryStatus status = call();
    if (key) key = std::make_unique<FaultyKey>(*key, faults_, std::move(key));
    return status;
  }

  RegistryKeyPtr owned_;
  RegistryKey& real_;
  FaultInjector& faults_;
};

class FaultyRegistry final : public platform::Registry {
 public:
  FaultyRegistry(Registry& real, FaultInjector& faults)
      : current_user_(real.CurrentUser(), faults), local_machine_(real.LocalMachine(), faults) {}
  RegistryKey& CurrentUser() override { return current_user_; }
  RegistryKey& LocalMachine() override { return local_machine_; }

 private:
  FaultyKey current_user_;
  FaultyKey local_machine_;
};

class FaultyEngine final : public platform::IEngine {
  using Status = platform::EngineStatus;
  using View = std::string_view;
  using Vector = platform::IEngineStringVector;
  using Account = platform::EngineAccount;

 public:
  FaultyEngine(platform::EnginePtr real, FaultInjector& faults)
      : real_(std::move(real)), faults_(faults) {}

  void SetOption(View name, View value) override { Real("SetOption").SetOption(name, value); }
  void InitEngine() override { Real("InitEngine").InitEngine(); }
  Status QueryKeyPair(View address, std::string& text) override {
    return Real("QueryKeyPair").QueryKeyPair(address, text);
  }
  Status AuthenticateAccount(View address, View passphrase) override {
    return Real("AuthenticateAccount").AuthenticateAccount(address, passphrase);
  }
  Status SignFile(View path, std::string& signature_path) override {
    return Real("SignFile").SignFile(path, signature_path);
  }
  Status SignText(View text, const Account* account, std::string& signed_text) override {
    return Real("SignText").SignText(text, account, signed_text);
  }
  Status EncryptText(const Vector& recipients, View text, std::string& armoured) override {
    return Real("EncryptText").EncryptText(recipients, text, armoured);
  }
  Status DecryptFileEx(View path, const Account* account) override {
    return Real("DecryptFileEx").DecryptFileEx(path, account);
  }
  Status DecryptTextEx(View armoured, const Account* account, std::string& plain) override {
    return Real("DecryptTextEx").DecryptTextEx(armoured, account, plain);
  }
  Status VerifyText(View text, Vector& signers, Vector& unknown, std::string& content) override {
    return Real("VerifyText").VerifyText(text, signers, unknown, content);
  }
  Status VerifyFile(View path, View signature, Vector& signers, Vector& unknown) override {
    return Real("VerifyFile").VerifyFile(path, signature, signers, unknown);
  }
  std::string GetEngineLastError() override {
    return Real("GetEngineLastError").GetEngineLastError();
  }
  Status EncryptFileToFile(const Vector& recipients, View path, View encrypted_path) override {
    return Real("EncryptFileToFile").EncryptFileToFile(recipients, path, encrypted_path);
  }
  void SetAnonymousMode(bool anonymous) override {
    Real("SetAnonymousMode").SetAnonymousMode(anonymous);
  }
  Status GetAddressADKs(View address, Vector& addresses) override {
    return Real("GetAddressADKs").GetAddressADKs(address, addresses);
  }
  Status GetRecipientADKs(View recipient, Vector& addresses) override {
    return Real("GetRecipientADKs").GetRecipientADKs(recipient, addresses);
  }

 private:
  platform::IEngine& Real(const std::string& call) const {
    faults_("IEngine::" + call);
    return *real_;
  }

  platform::EnginePtr real_;
  FaultInjector& faults_;
};

class FaultyEngineFactory final : public platform::EngineFactory {
 public:
  FaultyEngineFactory(EngineFactory& real, FaultInjector& faults) : real_(real), faults_(faults) {}
  platform::EnginePtr CreateEngine() override {
    faults_("EngineFactory::CreateEngine");
    return std::make_shared<FaultyEngine>(real_.CreateEngine(), faults_);
  }
  platform::EngineStringVectorPtr CreateStringVector() override {
    faults_("EngineFactory::CreateStringVector");
    return real_.CreateStringVector();
  }

 private:
  EngineFactory& real_;
  FaultInjector& faults_;
};

class FaultyFiles final : public platform::Files {
  using View = std::string_view;

 public:
  FaultyFiles(Files& real, FaultInjector& faults) : real_(real), faults_(faults) {}

  // The trace log is all that appends.
  void AppendText(View path, View text) override { real_.AppendText(path, text); }
  std::string Read(View path) override { return Real("Read").Read(path); }
  void Write(View path, View content) override { Real("Write").Write(path, content); }
  void Copy(View from, View to) override { Real("Copy").Copy(from, to); }
  void Delete(View path) override { Real("Delete").Delete(path); }
  bool FileExists(View path) override { return Real("FileExists").FileExists(path); }
  bool FolderExists(View path) override { return Real("FolderExists").FolderExists(path); }
  void CreateFolder(View path) override { Real("CreateFolder").CreateFolder(path); }
  void RemoveEmptyFolder(View path) override { Real("RemoveEmptyFolder").RemoveEmptyFolder(path); }
  std::vector<std::string> List(View folder) override { return Real("List").List(folder); }
  std::uint32_t Attributes(View path) override { return Real("Attributes").Attributes(path); }
  std::int64_t Length(View path) override { return Real("Length").Length(path); }
  std::string TemporaryFolder() override { return Real("TemporaryFolder").TemporaryFolder(); }

 private:
  Files& Real(const std::string& call) const {
    faults_("Files::" + call);
    return real_;
  }

  Files& real_;
  FaultInjector& faults_;
};

}  // namespace

std::unique_ptr<platform::Files> WithFaults(platform::Files& real, FaultInjector& faults) {
  return std::make_unique<FaultyFiles>(real, faults);
}

std::unique_ptr<platform::Registry> WithFaults(platform::Registry& real, FaultInjector& faults) {
  return std::make_unique<FaultyRegistry>(real, faults);
}

std::unique_ptr<platform::EngineFactory> WithFaults(platform::EngineFactory& real,
                                                    FaultInjector& faults) {
  return std::make_unique<FaultyEngineFactory>(real, faults);
}

}  // namespace corvessa::testing
