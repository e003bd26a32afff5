#include "support/fault_injector.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "base/guard.h"
#include "platform/command_bars.h"

namespace corvessa::testing {
namespace {

using namespace platform;
using View = std::string_view;
using Int = std::int32_t;
using Status = EngineStatus;
using Vector = IEngineStringVector;
using Account = EngineAccount;

/// A name as a template argument.
template <std::size_t size>
struct Literal {
  constexpr Literal(const char (&from)[size]) { std::copy_n(from, size, text); }
  char text[size];
};

template <typename Wrapper, typename Object>
std::shared_ptr<Object> Wrap(std::shared_ptr<Object> object, FaultInjector& faults) {
  return object ? std::make_shared<Wrapper>(std::move(object), faults) : nullptr;
}

/// A wrapper whose calls the injector hears of under the name and that of the member.
template <typename Interface, Literal name>
struct Faulty : Interface {
  Faulty(std::shared_ptr<Interface> object, FaultInjector& injector)
      : real(std::move(object)), faults(injector) {}
  Faulty(Interface& object, FaultInjector& injector)
      : Faulty(std::shared_ptr<Interface>(std::shared_ptr<void>(), &object), injector) {}

  std::shared_ptr<Interface> Real(const char* member) const {
    faults(std::string(name.text) + member);
    return real;
  }
  /// Subscribes a sink of ours that passes the events on to the add-in's.
  template <typename Sink, typename Events>
  Subscription Forward(Events& events) const {
    struct Forwarding {
      Sink sink;
      Subscription subscription;
    };
    const auto forwarding = std::make_shared<Forwarding>(Forwarding{Sink(events, faults), {}});
    forwarding->subscription = Real("Subscribe")->Subscribe(forwarding->sink);
    return forwarding;
  }

  std::shared_ptr<Interface> real;
  FaultInjector& faults;
};

template <typename Events>
struct FaultySink : Events {
  FaultySink(Events& events, FaultInjector& injector) : sink(events), faults(injector) {}

  Events& sink;
  FaultInjector& faults;
};

// NOLINTBEGIN(cppcoreguidelines-macro-usage): only the preprocessor makes members.
/// A member of a wrapper: its result, name, parameters and arguments.
#define PASS_ON(Result, member, parameters, ...) \
  Result member parameters override {            \
    return Real(#member)->member(__VA_ARGS__);   \
  }
/// One that hands out an object, which gets a wrapper too.
#define WRAP(Wrapper, Result, member, parameters, ...)                \
  Result member parameters override {                                 \
    return Wrap<Wrapper>(Real(#member)->member(__VA_ARGS__), faults); \
  }
// NOLINTEND(cppcoreguidelines-macro-usage)

struct FaultyFiles final : Faulty<Files, "Files::"> {
  using Faulty::Faulty;
  // The trace log is all that appends.
  void AppendText(View path, View text) override { real->AppendText(path, text); }
  PASS_ON(std::string, Read, (View path), path);
  PASS_ON(void, Write, (View path, View content), path, content);
  PASS_ON(void, Copy, (View from, View to), from, to);
  PASS_ON(void, Delete, (View path), path);
  PASS_ON(bool, FileExists, (View path), path);
  PASS_ON(bool, FolderExists, (View path), path);
  PASS_ON(void, CreateFolder, (View path), path);
  PASS_ON(void, RemoveEmptyFolder, (View path), path);
  PASS_ON(std::vector<std::string>, List, (View folder), folder);
  PASS_ON(std::uint32_t, Attributes, (View path), path);
  PASS_ON(std::int64_t, Length, (View path), path);
  PASS_ON(std::string, TemporaryFolder, ());
};

struct FaultyKey final : Faulty<RegistryKey, "RegistryKey::"> {
  using Faulty::Faulty;
  RegistryStatus Create(View path, RegistryKeyPtr& key) override {
    return Answer("Create", path, key);
  }
  RegistryStatus Open(View path, RegistryKeyPtr& key) override { return Answer("Open", path, key); }
  Int ReadNumber(View name) override { return Fails("ReadNumber") ? 0 : real->ReadNumber(name); }
  std::string ReadString(View name, std::size_t buffer_size) override {
    return Fails("ReadString") ? std::string() : real->ReadString(name, buffer_size);
  }
  RegistryStatus WriteNumber(View name, Int value) override {
    return Fails("WriteNumber") ? kRegistryAccessDenied : real->WriteNumber(name, value);
  }
  RegistryStatus EnumerateKey(std::uint32_t index, std::string& name) override {
    return Fails("EnumerateKey") ? kRegistryAccessDenied : real->EnumerateKey(index, name);
  }
  RegistryStatus DeleteKey(View path) override {
    return Fails("DeleteKey") ? kRegistryAccessDenied : real->DeleteKey(path);
  }

 private:
  bool Fails(const char* member) const {
    return Attempt([&] { Real(member); }).number != 0;
  }
  RegistryStatus Answer(View member, View path, RegistryKeyPtr& key) {
    key.reset();
    if (Fails(member.data())) return kRegistryAccessDenied;
    const auto status = member == "Open" ? real->Open(path, key) : real->Create(path, key);
    if (key) key = std::make_unique<FaultyKey>(std::shared_ptr(std::move(key)), faults);
    return status;
  }
};

struct FaultyRegistry final : Registry {
  FaultyRegistry(Registry& real, FaultInjector& faults)
      : current_user(real.CurrentUser(), faults), local_machine(real.LocalMachine(), faults) {}
  RegistryKey& CurrentUser() override { return current_user; }
  RegistryKey& LocalMachine() override { return local_machine; }

  FaultyKey current_user;
  FaultyKey local_machine;
};

struct FaultyEngine final : Faulty<IEngine, "IEngine::"> {
  using Faulty::Faulty;
  PASS_ON(void, SetOption, (View name, View value), name, value);
  PASS_ON(void, InitEngine, ());
  PASS_ON(Status, QueryKeyPair, (View address, std::string& text), address, text);
  PASS_ON(Status, AuthenticateAccount, (View address, View passphrase), address, passphrase);
  PASS_ON(Status, SignFile, (View path, std::string& made), path, made);
  PASS_ON(Status, SignText, (View text, const Account* by, std::string& made), text, by, made);
  PASS_ON(Status, EncryptText, (const Vector& to, View text, std::string& made), to, text, made);
  PASS_ON(Status, DecryptFileEx, (View path, const Account* by), path, by);
  PASS_ON(Status, DecryptTextEx, (View text, const Account* by, std::string& made), text, by, made);
  PASS_ON(Status, VerifyText, (View text, Vector& signers, Vector& unknown, std::string& content),
          text, signers, unknown, content);
  PASS_ON(Status, VerifyFile, (View path, View signature, Vector& signers, Vector& unknown), path,
          signature, signers, unknown);
  PASS_ON(std::string, GetEngineLastError, ());
  PASS_ON(Status, EncryptFileToFile, (const Vector& to, View path, View made), to, path, made);
  PASS_ON(void, SetAnonymousMode, (bool anonymous), anonymous);
  PASS_ON(Status, GetAddressADKs, (View address, Vector& found), address, found);
  PASS_ON(Status, GetRecipientADKs, (View recipient, Vector& found), recipient, found);
};

struct FaultyEngineFactory final : Faulty<EngineFactory, "EngineFactory::"> {
  using Faulty::Faulty;
  WRAP(FaultyEngine, EnginePtr, CreateEngine, ());
  PASS_ON(EngineStringVectorPtr, CreateStringVector, ());
};

struct FaultyButton final : Faulty<CommandBarButton, "CommandBarButton."> {
  using Faulty::Faulty;
  PASS_ON(std::string, Caption, ());
  PASS_ON(void, SetCaption, (View text), text);
  PASS_ON(void, SetTooltipText, (View text), text);
  PASS_ON(void, SetStyle, (Int style), style);
  PASS_ON(void, SetFaceId, (Int face), face);
  PASS_ON(Int, State, ());
  PASS_ON(void, SetState, (Int state), state);
  PASS_ON(void, SetEnabled, (bool value), value);
  PASS_ON(void, SetBeginGroup, (bool value), value);
  PASS_ON(void, SetOnAction, (View action), action);
  PASS_ON(void, SetVisible, (bool value), value);
  PASS_ON(std::string, Tag, ());
  PASS_ON(void, SetTag, (View tag), tag);
  PASS_ON(void, PasteFace, ());
  PASS_ON(void, Delete, ());
  PASS_ON(Subscription, Subscribe, (CommandBarButtonEvents & sink), sink);
};

struct FaultyControls final : Faulty<CommandBarControls, "CommandBarControls."> {
  using Faulty::Faulty;
  PASS_ON(Int, Count, ());
  WRAP(FaultyButton, CommandBarButtonPtr, Item, (Int index), index);
  WRAP(FaultyButton, CommandBarButtonPtr, AddButton, (bool temporary), temporary);
};

struct FaultyBar final : Faulty<CommandBar, "CommandBar."> {
  using Faulty::Faulty;
  PASS_ON(std::string, Name, ());
  PASS_ON(void, SetVisible, (bool visible), visible);
  PASS_ON(void, SetPosition, (Int position), position);
  WRAP(FaultyControls, CommandBarControlsPtr, Controls, ());
  PASS_ON(void, Delete, ());
};

struct FaultyBars final : Faulty<CommandBars, "CommandBars."> {
  using Faulty::Faulty;
  PASS_ON(Int, Count, ());
  WRAP(FaultyBar, CommandBarPtr, Item, (Int index), index);
  WRAP(FaultyBar, CommandBarPtr, ItemByName, (View name), name);
  WRAP(FaultyBar, CommandBarPtr, Add, (View name, bool temporary), name, temporary);
};

struct FaultyAttachment final : Faulty<Attachment, "Attachment."> {
  using Faulty::Faulty;
  PASS_ON(std::string, FileName, ());
  PASS_ON(std::string, DisplayName, ());
  PASS_ON(void, SaveAsFile, (View path), path);
  PASS_ON(std::string, ParentTypeName, ());
};

struct FaultyAttachments final : Faulty<Attachments, "Attachments."> {
  using Faulty::Faulty;
  PASS_ON(Int, Count, ());
  WRAP(FaultyAttachment, AttachmentPtr, Item, (Int index), index);
  PASS_ON(void, Add, (View path, View name), path, name);
  PASS_ON(void, Remove, (Int index), index);
};

struct MailItemSink final : FaultySink<MailItemEvents> {
  using FaultySink::FaultySink;
  void AttachmentRead(const AttachmentPtr& attachment) override {
    sink.AttachmentRead(Wrap<FaultyAttachment>(attachment, faults));
  }
  void Open(bool& cancel) override { sink.Open(cancel); }
  void Read() override { sink.Read(); }
  void PropertyChange(View name) override { sink.PropertyChange(name); }
  void Close(bool& cancel) override { sink.Close(cancel); }
  void Reply(const MailItemPtr& response, bool& cancel) override {
    sink.Reply(WithFaults(response, faults), cancel);
  }
  void ReplyAll(const MailItemPtr& response, bool& cancel) override {
    sink.ReplyAll(WithFaults(response, faults), cancel);
  }
  void Forward(const MailItemPtr& forward, bool& cancel) override {
    sink.Forward(WithFaults(forward, faults), cancel);
  }
};

struct FaultyItem final : Faulty<MailItem, "MailItem."> {
  using Faulty::Faulty;
  PASS_ON(std::string, TypeName, ());
  PASS_ON(Int, Class, ());
  PASS_ON(SharedText, Body, ());
  PASS_ON(void, SetBody, (View text), text);
  PASS_ON(SharedText, HTMLBody, ());
  PASS_ON(void, SetHTMLBody, (View html), html);
  PASS_ON(void, SetBodyFormat, (Int format), format);
  PASS_ON(std::string, Subject, ());
  PASS_ON(std::string, EntryID, ());
  PASS_ON(std::string, ReceivedTime, ());
  PASS_ON(std::string, ParentName, ());
  InspectorPtr GetInspector() override {
    return WithFaults(Real("GetInspector")->GetInspector(), faults);
  }
  WRAP(FaultyAttachments, AttachmentsPtr, Attachments, ());
  Subscription Subscribe(MailItemEvents& sink) override { return Forward<MailItemSink>(sink); }
};

struct FaultyInspector final : Faulty<Inspector, "Inspector."> {
  using Faulty::Faulty;
  WRAP(FaultyItem, MailItemPtr, CurrentItem, ());
  WRAP(FaultyBars, CommandBarsPtr, CommandBars, ());
  PASS_ON(bool, IsWordMail, ());
  PASS_ON(Subscription, Subscribe, (InspectorEvents & sink), sink);
};

struct InspectorsSink final : FaultySink<InspectorsEvents> {
  using FaultySink::FaultySink;
  void NewInspector(const InspectorPtr& inspector) override {
    sink.NewInspector(WithFaults(inspector, faults));
  }
};

struct FaultyInspectors final : Faulty<Inspectors, "Inspectors."> {
  using Faulty::Faulty;
  Subscription Subscribe(InspectorsEvents& sink) override { return Forward<InspectorsSink>(sink); }
};

struct FaultyExplorer final : Faulty<Explorer, "Explorer."> {
  using Faulty::Faulty;
  WRAP(FaultyBars, CommandBarsPtr, CommandBars, ());
  PASS_ON(Subscription, Subscribe, (ExplorerEvents & sink), sink);
};

struct ExplorersSink final : FaultySink<ExplorersEvents> {
  using FaultySink::FaultySink;
  void NewExplorer(const ExplorerPtr& explorer) override {
    sink.NewExplorer(WithFaults(explorer, faults));
  }
};

struct FaultyExplorers final : Faulty<Explorers, "Explorers."> {
  using Faulty::Faulty;
  Subscription Subscribe(ExplorersEvents& sink) override { return Forward<ExplorersSink>(sink); }
};

struct ApplicationSink final : FaultySink<ApplicationEvents> {
  using FaultySink::FaultySink;
  void ItemSend(const MailItemPtr& item, bool& cancel) override {
    sink.ItemSend(WithFaults(item, faults), cancel);
  }
};

struct FaultyApplication final : Faulty<Application, "Application."> {
  using Faulty::Faulty;
  PASS_ON(std::string, Version, ());
  WRAP(FaultyExplorers, ExplorersPtr, Explorers, ());
  WRAP(FaultyInspectors, InspectorsPtr, Inspectors, ());
  WRAP(FaultyExplorer, ExplorerPtr, ActiveExplorer, ());
  WRAP(FaultyInspector, InspectorPtr, ActiveInspector, ());
  Subscription Subscribe(ApplicationEvents& sink) override {
    return Forward<ApplicationSink>(sink);
  }
};

struct FaultyAddressEntry final : Faulty<AddressEntry, "AddressEntry."> {
  using Faulty::Faulty;
  PASS_ON(std::string, Name, ());
  PASS_ON(std::string, Address, ());
  PASS_ON(std::string, ID, ());
  PASS_ON(std::string, Fields, (Int tag), tag);
};

struct FaultyAddressEntries final : Faulty<AddressEntries, "AddressEntries."> {
  using Faulty::Faulty;
  PASS_ON(Int, Count, ());
  WRAP(FaultyAddressEntry, AddressEntryPtr, Item, (Int index), index);
};

struct FaultyAddressList final : Faulty<AddressList, "AddressList."> {
  using Faulty::Faulty;
  WRAP(FaultyAddressEntries, AddressEntriesPtr, AddressEntries, ());
};

struct FaultyAddressLists final : Faulty<AddressLists, "AddressLists."> {
  using Faulty::Faulty;
  PASS_ON(Int, Count, ());
  WRAP(FaultyAddressList, AddressListPtr, Item, (Int index), index);
};

struct FaultyUtils final : Faulty<MAPIUtils, "MAPIUtils."> {
  using Faulty::Faulty;
  WRAP(FaultyAddressEntry, AddressEntryPtr, GetAddressEntryFromID, (View id), id);
};

struct FaultyRecipient final : Faulty<Recipient, "Recipient."> {
  using Faulty::Faulty;
  PASS_ON(std::string, TypeName, ());
  PASS_ON(std::string, Name, ());
  PASS_ON(std::string, Address, ());
  PASS_ON(std::string, EntryID, ());
  WRAP(FaultyAddressEntry, AddressEntryPtr, AddressEntry, ());
};

struct FaultyRecipients final : Faulty<Recipients, "Recipients."> {
  using Faulty::Faulty;
  PASS_ON(std::string, TypeName, ());
  PASS_ON(Int, Count, ());
  WRAP(FaultyRecipient, RecipientPtr, Item, (Int index), index);
};

struct FaultySafeItem final : Faulty<SafeMailItem, "SafeMailItem."> {
  using Faulty::Faulty;
  void SetItem(const MailItemPtr& item) override {
    const auto* const wrapped = dynamic_cast<const FaultyItem*>(item.get());
    Real("SetItem")->SetItem(wrapped ? wrapped->real : item);
  }
  PASS_ON(Int, GetIDsFromNames, (View guid, View name), guid, name);
  PASS_ON(std::string, Fields, (Int tag), tag);
  PASS_ON(void, SetFields, (Int tag, View value), tag, value);
  PASS_ON(void, Save, ());
  PASS_ON(std::string, SenderName, ());
  PASS_ON(std::string, BCC, ());
  WRAP(FaultyRecipients, RecipientsPtr, Recipients, ());
};

struct FaultyRedemption final : Faulty<Redemption, "Redemption."> {
  using Faulty::Faulty;
  WRAP(FaultySafeItem, SafeMailItemPtr, CreateSafeMailItem, ());
  WRAP(FaultyAddressLists, AddressListsPtr, CreateAddressLists, ());
  WRAP(FaultyUtils, MAPIUtilsPtr, CreateMAPIUtils, ());
};

struct FaultySession final : Faulty<MAPISession, "MAPISession."> {
  using Faulty::Faulty;
  PASS_ON(void, Logon, (View name, View password, bool show_dialog, bool new_session, int parent),
          name, password, show_dialog, new_session, parent);
};

struct FaultyCdo final : Faulty<Cdo, "Cdo."> {
  using Faulty::Faulty;
  WRAP(FaultySession, MAPISessionPtr, CreateSession, ());
};

}  // namespace

std::unique_ptr<Files> WithFaults(Files& real, FaultInjector& faults) {
  return std::make_unique<FaultyFiles>(real, faults);
}
std::unique_ptr<Registry> WithFaults(Registry& real, FaultInjector& faults) {
  return std::make_unique<FaultyRegistry>(real, faults);
}
std::unique_ptr<EngineFactory> WithFaults(EngineFactory& real, FaultInjector& faults) {
  return std::make_unique<FaultyEngineFactory>(real, faults);
}
std::unique_ptr<Redemption> WithFaults(Redemption& real, FaultInjector& faults) {
  return std::make_unique<FaultyRedemption>(real, faults);
}
std::unique_ptr<Cdo> WithFaults(Cdo& real, FaultInjector& faults) {
  return std::make_unique<FaultyCdo>(real, faults);
}
ApplicationPtr WithFaults(ApplicationPtr real, FaultInjector& faults) {
  return Wrap<FaultyApplication>(std::move(real), faults);
}
InspectorPtr WithFaults(InspectorPtr real, FaultInjector& faults) {
  return Wrap<FaultyInspector>(std::move(real), faults);
}
ExplorerPtr WithFaults(ExplorerPtr real, FaultInjector& faults) {
  return Wrap<FaultyExplorer>(std::move(real), faults);
}
MailItemPtr WithFaults(MailItemPtr real, FaultInjector& faults) {
  return Wrap<FaultyItem>(std::move(real), faults);
}

}  // namespace corvessa::testing
