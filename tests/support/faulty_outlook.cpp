#include "support/faulty_outlook.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "platform/command_bars.h"

namespace corvessa::testing {
namespace {

using namespace platform;
using View = std::string_view;
using Int = std::int32_t;

template <typename Wrapper, typename Object>
std::shared_ptr<Object> Wrap(std::shared_ptr<Object> object, FaultInjector& faults) {
  return object ? std::make_shared<Wrapper>(std::move(object), faults) : nullptr;
}

template <typename Interface>
class Faulty : public Interface {
 public:
  Faulty(std::shared_ptr<Interface> real, FaultInjector& faults)
      : real_(std::move(real)), faults_(faults) {}

  const std::shared_ptr<Interface>& Unwrapped() const { return real_; }

 protected:
  std::shared_ptr<Interface> Real(View call) const {
    faults_(call);
    return real_;
  }
  template <typename Wrapper, typename Object>
  std::shared_ptr<Object> Wrapped(std::shared_ptr<Object> object) const {
    return Wrap<Wrapper>(std::move(object), faults_);
  }
  /// Subscribes a sink of ours that passes the events on to the add-in's.
  template <typename Sink, typename Events>
  Subscription Forward(View call, Events& events) const {
    struct Forwarding {
      Sink sink;
      Subscription subscription;
    };
    const auto forwarding = std::make_shared<Forwarding>(Forwarding{Sink(events, faults_), {}});
    forwarding->subscription = Real(call)->Subscribe(forwarding->sink);
    return forwarding;
  }

  std::shared_ptr<Interface> real_;
  FaultInjector& faults_;
};

class FaultyButton final : public Faulty<CommandBarButton> {
 public:
  using Faulty::Faulty;
  std::string Caption() override { return Real("CommandBarButton.Caption")->Caption(); }
  void SetCaption(View text) override { Real("CommandBarButton.SetCaption")->SetCaption(text); }
  void SetTooltipText(View text) override {
    Real("CommandBarButton.SetTooltipText")->SetTooltipText(text);
  }
  void SetStyle(Int style) override { Real("CommandBarButton.SetStyle")->SetStyle(style); }
  void SetFaceId(Int face) override { Real("CommandBarButton.SetFaceId")->SetFaceId(face); }
  Int State() override { return Real("CommandBarButton.State")->State(); }
  void SetState(Int state) override { Real("CommandBarButton.SetState")->SetState(state); }
  void SetEnabled(bool value) override { Real("CommandBarButton.SetEnabled")->SetEnabled(value); }
  void SetBeginGroup(bool value) override {
    Real("CommandBarButton.SetBeginGroup")->SetBeginGroup(value);
  }
  void SetOnAction(View action) override {
    Real("CommandBarButton.SetOnAction")->SetOnAction(action);
  }
  void SetVisible(bool value) override { Real("CommandBarButton.SetVisible")->SetVisible(value); }
  std::string Tag() override { return Real("CommandBarButton.Tag")->Tag(); }
  void SetTag(View tag) override { Real("CommandBarButton.SetTag")->SetTag(tag); }
  void PasteFace() override { Real("CommandBarButton.PasteFace")->PasteFace(); }
  void Delete() override { Real("CommandBarButton.Delete")->Delete(); }
  Subscription Subscribe(CommandBarButtonEvents& sink) override {
    return Real("CommandBarButton.Subscribe")->Subscribe(sink);
  }
};

class FaultyControls final : public Faulty<CommandBarControls> {
 public:
  using Faulty::Faulty;
  Int Count() override { return Real("CommandBarControls.Count")->Count(); }
  CommandBarButtonPtr Item(Int index) override {
    return Wrapped<FaultyButton>(Real("CommandBarControls.Item")->Item(index));
  }
  CommandBarButtonPtr AddButton(bool temporary) override {
    return Wrapped<FaultyButton>(Real("CommandBarControls.AddButton")->AddButton(temporary));
  }
};

class FaultyBar final : public Faulty<CommandBar> {
 public:
  using Faulty::Faulty;
  std::string Name() override { return Real("CommandBar.Name")->Name(); }
  void SetVisible(bool visible) override { Real("CommandBar.SetVisible")->SetVisible(visible); }
  void SetPosition(Int position) override { Real("CommandBar.SetPosition")->SetPosition(position); }
  CommandBarControlsPtr Controls() override {
    return Wrapped<FaultyControls>(Real("CommandBar.Controls")->Controls());
  }
  void Delete() override { Real("CommandBar.Delete")->Delete(); }
};

class FaultyBars final : public Faulty<CommandBars> {
 public:
  using Faulty::Faulty;
  Int Count() override { return Real("CommandBars.Count")->Count(); }
  CommandBarPtr Item(Int index) override {
    return Wrapped<FaultyBar>(Real("CommandBars.Item")->Item(index));
  }
  CommandBarPtr ItemByName(View name) override {
    return Wrapped<FaultyBar>(Real("CommandBars.ItemByName")->ItemByName(name));
  }
  CommandBarPtr Add(View name, bool temporary) override {
    return Wrapped<FaultyBar>(Real("CommandBars.Add")->Add(name, temporary));
  }
};

class FaultyAttachment final : public Faulty<Attachment> {
 public:
  using Faulty::Faulty;
  std::string FileName() override { return Real("Attachment.FileName")->FileName(); }
  std::string DisplayName() override { return Real("Attachment.DisplayName")->DisplayName(); }
  void SaveAsFile(View path) override { Real("Attachment.SaveAsFile")->SaveAsFile(path); }
  std::string ParentTypeName() override {
    return Real("Attachment.ParentTypeName")->ParentTypeName();
  }
};

class FaultyAttachments final : public Faulty<Attachments> {
 public:
  using Faulty::Faulty;
  Int Count() override { return Real("Attachments.Count")->Count(); }
  AttachmentPtr Item(Int index) override {
    return Wrapped<FaultyAttachment>(Real("Attachments.Item")->Item(index));
  }
  void Add(View path, View name) override { Real("Attachments.Add")->Add(path, name); }
  void Remove(Int index) override { Real("Attachments.Remove")->Remove(index); }
};

/// Passes an item's events on.
class MailItemSink final : public MailItemEvents {
 public:
  MailItemSink(MailItemEvents& sink, FaultInjector& faults) : sink_(sink), faults_(faults) {}
  void AttachmentRead(const AttachmentPtr& attachment) override {
    sink_.AttachmentRead(Wrap<FaultyAttachment>(attachment, faults_));
  }
  void Open(bool& cancel) override { sink_.Open(cancel); }
  void Read() override { sink_.Read(); }
  void PropertyChange(View name) override { sink_.PropertyChange(name); }
  void Close(bool& cancel) override { sink_.Close(cancel); }
  void Reply(const MailItemPtr& response, bool& cancel) override {
    sink_.Reply(WithFaults(response, faults_), cancel);
  }
  void ReplyAll(const MailItemPtr& response, bool& cancel) override {
    sink_.ReplyAll(WithFaults(response, faults_), cancel);
  }
  void Forward(const MailItemPtr& forward, bool& cancel) override {
    sink_.Forward(WithFaults(forward, faults_), cancel);
  }

 private:
  MailItemEvents& sink_;
  FaultInjector& faults_;
};

class FaultyItem final : public Faulty<MailItem> {
 public:
  using Faulty::Faulty;
  std::string TypeName() override { return Real("MailItem.TypeName")->TypeName(); }
  Int Class() override { return Real("MailItem.Class")->Class(); }
  SharedText Body() override { return Real("MailItem.Body")->Body(); }
  void SetBody(View text) override { Real("MailItem.SetBody")->SetBody(text); }
  SharedText HTMLBody() override { return Real("MailItem.HTMLBody")->HTMLBody(); }
  void SetHTMLBody(View html) override { Real("MailItem.SetHTMLBody")->SetHTMLBody(html); }
  void SetBodyFormat(Int format) override { Real("MailItem.SetBodyFormat")->SetBodyFormat(format); }
  std::string Subject() override { return Real("MailItem.Subject")->Subject(); }
  std::string EntryID() override { return Real("MailItem.EntryID")->EntryID(); }
  std::string ReceivedTime() override { return Real("MailItem.ReceivedTime")->ReceivedTime(); }
  std::string ParentName() override { return Real("MailItem.ParentName")->ParentName(); }
  InspectorPtr GetInspector() override {
    return WithFaults(Real("MailItem.GetInspector")->GetInspector(), faults_);
  }
  AttachmentsPtr Attachments() override {
    return Wrapped<FaultyAttachments>(Real("MailItem.Attachments")->Attachments());
  }
  Subscription Subscribe(MailItemEvents& sink) override {
    return Forward<MailItemSink>("MailItem.Subscribe", sink);
  }
};

class FaultyInspector final : public Faulty<Inspector> {
 public:
  using Faulty::Faulty;
  MailItemPtr CurrentItem() override {
    return WithFaults(Real("Inspector.CurrentItem")->CurrentItem(), faults_);
  }
  CommandBarsPtr CommandBars() override {
    return Wrapped<FaultyBars>(Real("Inspector.CommandBars")->CommandBars());
  }
  bool IsWordMail() override { return Real("Inspector.IsWordMail")->IsWordMail(); }
  Subscription Subscribe(InspectorEvents& sink) override {
    return Real("Inspector.Subscribe")->Subscribe(sink);
  }
};

class InspectorsSink final : public InspectorsEvents {
 public:
  InspectorsSink(InspectorsEvents& sink, FaultInjector& faults) : sink_(sink), faults_(faults) {}
  void NewInspector(const InspectorPtr& inspector) override {
    sink_.NewInspector(WithFaults(inspector, faults_));
  }

 private:
  InspectorsEvents& sink_;
  FaultInjector& faults_;
};

class FaultyInspectors final : public Faulty<Inspectors> {
 public:
  using Faulty::Faulty;
  Subscription Subscribe(InspectorsEvents& sink) override {
    return Forward<InspectorsSink>("Inspectors.Subscribe", sink);
  }
};

class FaultyExplorer final : public Faulty<Explorer> {
 public:
  using Faulty::Faulty;
  CommandBarsPtr CommandBars() override {
    return Wrapped<FaultyBars>(Real("Explorer.CommandBars")->CommandBars());
  }
  Subscription Subscribe(ExplorerEvents& sink) override {
    return Real("Explorer.Subscribe")->Subscribe(sink);
  }
};

class ExplorersSink final : public ExplorersEvents {
 public:
  ExplorersSink(ExplorersEvents& sink, FaultInjector& faults) : sink_(sink), faults_(faults) {}
  void NewExplorer(const ExplorerPtr& explorer) override {
    sink_.NewExplorer(WithFaults(explorer, faults_));
  }

 private:
  ExplorersEvents& sink_;
  FaultInjector& faults_;
};

class FaultyExplorers final : public Faulty<Explorers> {
 public:
  using Faulty::Faulty;
  Subscription Subscribe(ExplorersEvents& sink) override {
    return Forward<ExplorersSink>("Explorers.Subscribe", sink);
  }
};

class ApplicationSink final : public ApplicationEvents {
 public:
  ApplicationSink(ApplicationEvents& sink, FaultInjector& faults) : sink_(sink), faults_(faults) {}
  void ItemSend(const MailItemPtr& item, bool& cancel) override {
    sink_.ItemSend(WithFaults(item, faults_), cancel);
  }

 private:
  ApplicationEvents& sink_;
  FaultInjector& faults_;
};

class FaultyApplication final : public Faulty<Application> {
 public:
  using Faulty::Faulty;
  std::string Version() override { return Real("Application.Version")->Version(); }
  ExplorersPtr Explorers() override {
    return Wrapped<FaultyExplorers>(Real("Application.Explorers")->Explorers());
  }
  InspectorsPtr Inspectors() override {
    return Wrapped<FaultyInspectors>(Real("Application.Inspectors")->Inspectors());
  }
  ExplorerPtr ActiveExplorer() override {
    return WithFaults(Real("Application.ActiveExplorer")->ActiveExplorer(), faults_);
  }
  InspectorPtr ActiveInspector() override {
    return WithFaults(Real("Application.ActiveInspector")->ActiveInspector(), faults_);
  }
  Subscription Subscribe(ApplicationEvents& sink) override {
    return Forward<ApplicationSink>("Application.Subscribe", sink);
  }
};

class FaultyAddressEntry final : public Faulty<AddressEntry> {
 public:
  using Faulty::Faulty;
  std::string Name() override { return Real("AddressEntry.Name")->Name(); }
  std::string Address() override { return Real("AddressEntry.Address")->Address(); }
  std::string ID() override { return Real("AddressEntry.ID")->ID(); }
  std::string Fields(Int tag) override { return Real("AddressEntry.Fields")->Fields(tag); }
};

class FaultyAddressEntries final : public Faulty<AddressEntries> {
 public:
  using Faulty::Faulty;
  Int Count() override { return Real("AddressEntries.Count")->Count(); }
  AddressEntryPtr Item(Int index) override {
    return Wrapped<FaultyAddressEntry>(Real("AddressEntries.Item")->Item(index));
  }
};

class FaultyAddressList final : public Faulty<AddressList> {
 public:
  using Faulty::Faulty;
  AddressEntriesPtr AddressEntries() override {
    return Wrapped<FaultyAddressEntries>(Real("AddressList.AddressEntries")->AddressEntries());
  }
};

class FaultyAddressLists final : public Faulty<AddressLists> {
 public:
  using Faulty::Faulty;
  Int Count() override { return Real("AddressLists.Count")->Count(); }
  AddressListPtr Item(Int index) override {
    return Wrapped<FaultyAddressList>(Real("AddressLists.Item")->Item(index));
  }
};

class FaultyUtils final : public Faulty<MAPIUtils> {
 public:
  using Faulty::Faulty;
  AddressEntryPtr GetAddressEntryFromID(View id) override {
    return Wrapped<FaultyAddressEntry>(
        Real("MAPIUtils.GetAddressEntryFromID")->GetAddressEntryFromID(id));
  }
};

class FaultyRecipient final : public Faulty<Recipient> {
 public:
  using Faulty::Faulty;
  std::string TypeName() override { return Real("Recipient.TypeName")->TypeName(); }
  std::string Name() override { return Real("Recipient.Name")->Name(); }
  std::string Address() override { return Real("Recipient.Address")->Address(); }
  std::string EntryID() override { return Real("Recipient.EntryID")->EntryID(); }
  AddressEntryPtr AddressEntry() override {
    return Wrapped<FaultyAddressEntry>(Real("Recipient.AddressEntry")->AddressEntry());
  }
};

class FaultyRecipients final : public Faulty<Recipients> {
 public:
  using Faulty::Faulty;
  std::string TypeName() override { return Real("Recipients.TypeName")->TypeName(); }
  Int Count() override { return Real("Recipients.Count")->Count(); }
  RecipientPtr Item(Int index) override {
    return Wrapped<FaultyRecipient>(Real("Recipients.Item")->Item(index));
  }
};

class FaultySafeItem final : public Faulty<SafeMailItem> {
 public:
  using Faulty::Faulty;
  void SetItem(const MailItemPtr& item) override {
    const auto* const wrapped = dynamic_cast<const FaultyItem*>(item.get());
    Real("SafeMailItem.SetItem")->SetItem(wrapped ? wrapped->Unwrapped() : item);
  }
  Int GetIDsFromNames(View guid, View name) override {
    return Real("SafeMailItem.GetIDsFromNames")->GetIDsFromNames(guid, name);
  }
  std::string Fields(Int tag) override { return Real("SafeMailItem.Fields")->Fields(tag); }
  void SetFields(Int tag, View value) override {
    Real("SafeMailItem.SetFields")->SetFields(tag, value);
  }
  void Save() override { Real("SafeMailItem.Save")->Save(); }
  std::string SenderName() override { return Real("SafeMailItem.SenderName")->SenderName(); }
  std::string BCC() override { return Real("SafeMailItem.BCC")->BCC(); }
  RecipientsPtr Recipients() override {
    return Wrapped<FaultyRecipients>(Real("SafeMailItem.Recipients")->Recipients());
  }
};

class FaultyRedemption final : public Redemption {
 public:
  FaultyRedemption(Redemption& real, FaultInjector& faults) : real_(real), faults_(faults) {}
  SafeMailItemPtr CreateSafeMailItem() override {
    faults_("Redemption.CreateSafeMailItem");
    return Wrap<FaultySafeItem>(real_.CreateSafeMailItem(), faults_);
  }
  AddressListsPtr CreateAddressLists() override {
    faults_("Redemption.CreateAddressLists");
    return Wrap<FaultyAddressLists>(real_.CreateAddressLists(), faults_);
  }
  MAPIUtilsPtr CreateMAPIUtils() override {
    faults_("Redemption.CreateMAPIUtils");
    return Wrap<FaultyUtils>(real_.CreateMAPIUtils(), faults_);
  }

 private:
  Redemption& real_;
  FaultInjector& faults_;
};

class FaultySession final : public Faulty<MAPISession> {
 public:
  using Faulty::Faulty;
  void Logon(View name, View password, bool show_dialog, bool new_session, int parent) override {
    Real("MAPISession.Logon")->Logon(name, password, show_dialog, new_session, parent);
  }
};

class FaultyCdo final : public Cdo {
 public:
  FaultyCdo(Cdo& real, FaultInjector& faults) : real_(real), faults_(faults) {}
  MAPISessionPtr CreateSession() override {
    faults_("Cdo.CreateSession");
    return Wrap<FaultySession>(real_.CreateSession(), faults_);
  }

 private:
  Cdo& real_;
  FaultInjector& faults_;
};

}  // namespace

platform::ApplicationPtr WithFaults(platform::ApplicationPtr real, FaultInjector& faults) {
  return Wrap<FaultyApplication>(std::move(real), faults);
}

platform::InspectorPtr WithFaults(platform::InspectorPtr real, FaultInjector& faults) {
  return Wrap<FaultyInspector>(std::move(real), faults);
}

platform::ExplorerPtr WithFaults(platform::ExplorerPtr real, FaultInjector& faults) {
  return Wrap<FaultyExplorer>(std::move(real), faults);
}

platform::MailItemPtr WithFaults(platform::MailItemPtr real, FaultInjector& faults) {
  return Wrap<FaultyItem>(std::move(real), faults);
}

std::unique_ptr<platform::Redemption> WithFaults(platform::Redemption& real,
                                                 FaultInjector& faults) {
  return std::make_unique<FaultyRedemption>(real, faults);
}

std::unique_ptr<platform::Cdo> WithFaults(platform::Cdo& real, FaultInjector& faults) {
  return std::make_unique<FaultyCdo>(real, faults);
}

}  // namespace corvessa::testing
