#include "support/fault_injector.h"

#include "base/guard.h"
#include "platform/command_bars.h"

namespace corvessa::testing {

using namespace platform;

template <typename Interface>
std::shared_ptr<Interface> NotOwned(Interface& object) {
  return {std::shared_ptr<void>(), &object};
}

/// What the decorators that write_decorators.py makes have in common.
template <typename Interface>
struct Faulty : Interface {
  Faulty(std::shared_ptr<Interface> object, FaultInjector& injector)
      : real(std::move(object)), faults(injector) {}

  std::shared_ptr<Interface> Real(std::string_view call) const {
    faults(call);
    return real;
  }

  std::shared_ptr<Interface> real;
  FaultInjector& faults;
};

template <typename Interface>
std::shared_ptr<Interface> Undecorated(const std::shared_ptr<Interface>& object) {
  const auto* const faulty = dynamic_cast<const Faulty<Interface>*>(object.get());
  return faulty ? faulty->real : object;
}

/// Subscribes a decorator of the add-in's sink.
template <typename Sink, typename Source, typename Events>
Subscription Forward(const std::shared_ptr<Source>& source, Events& events, FaultInjector& faults) {
  struct Forwarding {
    Sink sink;
    Subscription subscription;
  };
  const auto forwarding = std::make_shared<Forwarding>(Forwarding{{NotOwned(events), faults}, {}});
  forwarding->subscription = source->Subscribe(forwarding->sink);
  return forwarding;
}

#include "support/decorators.inc"

namespace {

struct FaultyKey final : Faulty<RegistryKey> {
  using Faulty::Faulty;
  RegistryStatus Create(std::string_view path, RegistryKeyPtr& key) override {
    return Answer("Create", &RegistryKey::Create, path, key);
  }
  RegistryStatus Open(std::string_view path, RegistryKeyPtr& key) override {
    return Answer("Open", &RegistryKey::Open, path, key);
  }
  std::int32_t ReadNumber(std::string_view name) override {
    return Fails("ReadNumber") ? 0 : real->ReadNumber(name);
  }
  std::string ReadString(std::string_view name, std::size_t buffer_size) override {
    return Fails("ReadString") ? std::string() : real->ReadString(name, buffer_size);
  }
  RegistryStatus WriteNumber(std::string_view name, std::int32_t value) override {
    return Fails("WriteNumber") ? kRegistryAccessDenied : real->WriteNumber(name, value);
  }
  RegistryStatus EnumerateKey(std::uint32_t index, std::string& name) override {
    return Fails("EnumerateKey") ? kRegistryAccessDenied : real->EnumerateKey(index, name);
  }
  RegistryStatus DeleteKey(std::string_view path) override {
    return Fails("DeleteKey") ? kRegistryAccessDenied : real->DeleteKey(path);
  }

 private:
  bool Fails(const std::string& member) const {
    return Attempt([&] { faults("RegistryKey::" + member); }).number != 0;
  }
  template <typename Member>
  RegistryStatus Answer(const char* name, Member member, std::string_view path,
                        RegistryKeyPtr& key) {
    key.reset();
    if (Fails(name)) return kRegistryAccessDenied;
    const auto status = (*real.*member)(path, key);
    if (key) key = std::make_unique<FaultyKey>(std::move(key), faults);
    return status;
  }
};

struct FaultyRegistry final : Registry {
  FaultyRegistry(Registry& real, FaultInjector& faults)
      : current_user(NotOwned(real.CurrentUser()), faults),
        local_machine(NotOwned(real.LocalMachine()), faults) {}
  RegistryKey& CurrentUser() override { return current_user; }
  RegistryKey& LocalMachine() override { return local_machine; }

  FaultyKey current_user;
  FaultyKey local_machine;
};

}  // namespace

std::unique_ptr<Registry> WithFaults(Registry& real, FaultInjector& faults) {
  return std::make_unique<FaultyRegistry>(real, faults);
}

}  // namespace corvessa::testing
