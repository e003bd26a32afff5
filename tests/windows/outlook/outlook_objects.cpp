#include "windows/outlook/outlook_objects.h"

#include <algorithm>

#include "desk/outlook/item.h"
#include "win32/utf16.h"
#include "windows/com/bstr.h"
#include "windows/com/errors.h"
#include "windows/com/server.h"

namespace corvessa::testing {
namespace {

using com::Variant;

constexpr WORD kGet = DISPATCH_PROPERTYGET;
constexpr WORD kCall = DISPATCH_METHOD;

constexpr IID OfficeId(unsigned long first) {
  return {first, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
}

/// Holds the model's subscription of an adapter, and the adapter.
template <typename Adapter, typename Source>
platform::Subscription Adapt(Source& source, DispatchPtr sink) {
  struct Held {
    Adapter adapter;
    platform::Subscription subscription;
  };
  auto held = std::make_shared<Held>();
  held->adapter.sink = std::move(sink);
  held->subscription = source.Subscribe(held->adapter);
  return held;
}

DispatchPtr ServeExplorer(const platform::ExplorerPtr& explorer);
DispatchPtr ServeInspector(const platform::InspectorPtr& inspector);
DispatchPtr ServeAttachment(const platform::AttachmentPtr& attachment);

// The adapters of event sets to sinks.
struct ApplicationSink final : platform::ApplicationEvents {
  DispatchPtr sink;
  void ItemSend(const platform::MailItemPtr& item, bool& cancel) override {
    Fire(sink, 0xF002, {Variant(ServeItem(item).Get()).Get()}, cancel);
  }
};
struct ExplorersSink final : platform::ExplorersEvents {
  DispatchPtr sink;
  void NewExplorer(const platform::ExplorerPtr& explorer) override {
    Fire(sink, 0xF001, {Variant(ServeExplorer(explorer).Get()).Get()});
  }
};
struct InspectorsSink final : platform::InspectorsEvents {
  DispatchPtr sink;
  void NewInspector(const platform::InspectorPtr& inspector) override {
    Fire(sink, 0xF001, {Variant(ServeInspector(inspector).Get()).Get()});
  }
};
struct ExplorerSink final : platform::ExplorerEvents {
  DispatchPtr sink;
  void Close() override { Fire(sink, 0xF008, {}); }
};
struct InspectorSink final : platform::InspectorEvents {
  DispatchPtr sink;
  void Activate() override { Fire(sink, 0xF001, {}); }
  void Deactivate() override { Fire(sink, 0xF006, {}); }
  void Close() override { Fire(sink, 0xF008, {}); }
};
struct ButtonSink final : platform::CommandBarButtonEvents {
  DispatchPtr sink;
  void Click(bool& cancel_default) override {
    Fire(sink, 1, {Variant(static_cast<IDispatch*>(nullptr)).Get()}, cancel_default);
  }
};
struct ItemSink final : platform::MailItemEvents {
  DispatchPtr sink;
  void Respond(DISPID event, const platform::MailItemPtr& response, bool& cancel) const {
    Fire(sink, event, {Variant(ServeItem(response).Get()).Get()}, cancel);
  }
  void AttachmentRead(const platform::AttachmentPtr& attachment) override {
    Fire(sink, 0xF00C, {Variant(ServeAttachment(attachment).Get()).Get()});
  }
  void Open(bool& cancel) override { Fire(sink, 0xF003, {}, cancel); }
  void Read() override { Fire(sink, 0xF001, {}); }
  void PropertyChange(std::string_view name) override { Fire(sink, 0xF009, {Variant(name).Get()}); }
  void Close(bool& cancel) override { Fire(sink, 0xF004, {}, cancel); }
  void Reply(const platform::MailItemPtr& item, bool& cancel) override {
    Respond(0xF466, item, cancel);
  }
  void ReplyAll(const platform::MailItemPtr& item, bool& cancel) override {
    Respond(0xF467, item, cancel);
  }
  void Forward(const platform::MailItemPtr& item, bool& cancel) override {
    Respond(0xF468, item, cancel);
  }
};

template <typename Adapter, typename Source>
Events EventsOf(unsigned long iid, const std::shared_ptr<Source>& source) {
  return {OfficeId(iid),
          [source](DispatchPtr sink) { return Adapt<Adapter>(*source, std::move(sink)); }};
}

DispatchPtr ServeButton(const platform::CommandBarButtonPtr& b) {
  return Serve(
      "CommandBarButton",
      {Get("Type", [] { return std::int32_t{1}; }), Get("Caption", [b] { return b->Caption(); }),
       Put("Caption", 's', [b](auto& a) { b->SetCaption(a.Text(0)); }),
       Put("TooltipText", 's', [b](auto& a) { b->SetTooltipText(a.Text(0)); }),
       Put("Style", 'n', [b](auto& a) { b->SetStyle(a.Number(0)); }),
       Put("FaceId", 'n', [b](auto& a) { b->SetFaceId(a.Number(0)); }),
       Get("State", [b] { return b->State(); }),
       Put("State", 'n', [b](auto& a) { b->SetState(a.Number(0)); }),
       Put("Enabled", 'b', [b](auto& a) { b->SetEnabled(a.Flag(0)); }),
       Put("BeginGroup", 'b', [b](auto& a) { b->SetBeginGroup(a.Flag(0)); }),
       Put("OnAction", 's', [b](auto& a) { b->SetOnAction(a.Text(0)); }),
       Put("Visible", 'b', [b](auto& a) { b->SetVisible(a.Flag(0)); }),
       Get("Tag", [b] { return b->Tag(); }),
       Put("Tag", 's', [b](auto& a) { b->SetTag(a.Text(0)); }),
       Method("PasteFace", "", [b](auto&) { b->PasteFace(); }),
       Method("Delete", "V", [b](auto&) { b->Delete(); })},
      EventsOf<ButtonSink>(0x000C0351, b));
}

DispatchPtr ServeControls(const platform::CommandBarControlsPtr& c) {
  return Serve(
      "CommandBarControls",
      {Get("Count", [c] { return c->Count(); }),
       Function("Item", kGet, "n", [c](auto& a) { return ServeButton(c->Item(a.Number(0))); }),
       Function("Add", kCall, "NNVNB",
                [c](auto& a) { return ServeButton(c->AddButton(a.Flag(4))); })});
}

DispatchPtr ServeBar(const platform::CommandBarPtr& b) {
  return Serve("CommandBar", {Get("Name", [b] { return b->Name(); }),
                              Put("Visible", 'b', [b](auto& a) { b->SetVisible(a.Flag(0)); }),
                              Get("Controls", [b] { return ServeControls(b->Controls()); }),
                              Method("Delete", "", [b](auto&) { b->Delete(); })});
}

DispatchPtr ServeBars(const platform::CommandBarsPtr& b) {
  return Serve("CommandBars", {Get("Count", [b] { return b->Count(); }),
                               Function("Item", kGet, "v",
                                        [b](auto& a) {
                                          return ServeBar(a[0].Get().vt == VT_BSTR
                                                              ? b->ItemByName(a.Text(0))
                                                              : b->Item(a.Number(0)));
                                        }),
                               Function("Add", kCall, "SNBB", [b](auto& a) {
                                 return ServeBar(b->Add(a.Text(0), a.Number(1), a.Flag(3)));
                               })});
}

DispatchPtr ServeExplorer(const platform::ExplorerPtr& e) {
  if (!e) return nullptr;
  return Serve("Explorer", {Get("CommandBars", [e] { return ServeBars(e->CommandBars()); })},
               EventsOf<ExplorerSink>(0x0006304F, e));
}

/// A number for a Boolean, as some versions give it.
Variant ShortFlag(bool flag) {
  Variant value;
  VARIANT& number = *value.Receive();
  number.vt = VT_I2;
  number.iVal = flag ? VARIANT_TRUE : VARIANT_FALSE;
  return value;
}

DispatchPtr ServeInspector(const platform::InspectorPtr& i) {
  if (!i) return nullptr;
  return Serve(
      "Inspector",
      {Get("CurrentItem", [i] { return ServeItem(i->CurrentItem()); }),
       Get("CommandBars", [i] { return ServeBars(i->CommandBars()); }),
       Function("IsWordMail", kCall, "", [i](auto&) { return ShortFlag(i->IsWordMail()); })},
      EventsOf<InspectorSink>(0x0006307D, i));
}

DispatchPtr ServeAttachment(const platform::AttachmentPtr& a) {
  return Serve("Attachment",
               {Get("FileName", [a] { return a->FileName(); }),
                Get("DisplayName", [a] { return a->DisplayName(); }),
                Get("Parent", [a] { return Serve(a->ParentTypeName(), {}); }),
                Method("SaveAsFile", "s", [a](auto& g) { a->SaveAsFile(g.Text(0)); })});
}

DispatchPtr ServeAttachments(const platform::AttachmentsPtr& a) {
  return Serve(
      "Attachments",
      {Get("Count", [a] { return a->Count(); }),
       Function("Item", kGet, "n", [a](auto& g) { return ServeAttachment(a->Item(g.Number(0))); }),
       Function("Add", kCall, "sNNS",
                [a](auto& g) {
                  a->Add(g.Text(0), g.Has(3) ? g.Text(3) : std::string());
                  return ServeAttachment(a->Item(a->Count()));
                }),
       Method("Remove", "n", [a](auto& g) { a->Remove(g.Number(0)); })});
}

/// A received time as the number of a date; Outlook's 1 January 4501 for none.
Variant Date(const std::string& text) {
  Variant date;
  VARIANT& value = *date.Receive();
  value.vt = VT_DATE;
  value.date = 949998;
  if (!text.empty()) {
    com::Check(VarDateFromStr(com::Bstr(text).Get(), LOCALE_USER_DEFAULT, 0, &value.date));
  }
  return date;
}

/// An identifier, written in hexadecimal, as an array of bytes.
Variant Bytes(const std::string& digits) {
  const auto size = static_cast<ULONG>(digits.size() / 2);
  Variant value;
  VARIANT& array = *value.Receive();
  array.vt = VT_ARRAY | VT_UI1;
  array.parray = SafeArrayCreateVector(VT_UI1, 0, size);
  for (ULONG i = 0; i < size; ++i) {
    static_cast<std::uint8_t*>(array.parray->pvData)[i] =
        static_cast<std::uint8_t>(std::stoul(digits.substr(2 * i, 2), nullptr, 16));
  }
  return value;
}

}  // namespace

DispatchPtr ServeItem(const platform::MailItemPtr& platform_item) {
  const auto i = std::dynamic_pointer_cast<desk::Item>(platform_item);
  std::vector<Member> members = {
      Get("Class", [i] { return i->Class(); }),
      Get("Body", [i] { return *i->Body(); }),
      Put("Body", 's', [i](auto& a) { i->SetBody(a.Text(0)); }),
      Get("HTMLBody", [i] { return *i->HTMLBody(); }),
      Put("HTMLBody", 's', [i](auto& a) { i->SetHTMLBody(a.Text(0)); }),
      Get("Subject", [i] { return i->Subject(); }),
      Put("Subject", 's', [i](auto& a) { i->SetSubject(a.Text(0)); }),
      Get("EntryID", [i] { return i->EntryID(); }),
      Get("ReceivedTime", [i] { return Date(i->ReceivedTime()); }),
      Get("Parent",
          [i] {
            const std::string name = i->ParentName();
            return name.empty() ? DispatchPtr()
                                : Serve("MAPIFolder", {Get("Name", [name] { return name; })});
          }),
      Get("GetInspector", [i] { return ServeInspector(i->GetInspector()); }),
      Get("Attachments", [i] { return ServeAttachments(i->Attachments()); })};
  if (i->Outlook()->MajorVersion() > 9) {
    members.push_back(Put("BodyFormat", 'n', [i](auto& a) { i->SetBodyFormat(a.Number(0)); }));
  }
  return Serve(i->TypeName(), std::move(members), EventsOf<ItemSink>(0x0006303A, i), i);
}

DispatchPtr ServeApplication(desk::OutlookModel& model) {
  const auto a = model.Application();
  const auto explorers = a->Explorers();
  const auto inspectors = a->Inspectors();
  return Serve("Application",
               {Get("Version", [a] { return a->Version(); }),
                Get("Explorers",
                    [explorers] {
                      return Serve("Explorers", {}, EventsOf<ExplorersSink>(0x00063078, explorers));
                    }),
                Get("Inspectors",
                    [inspectors] {
                      return Serve("Inspectors", {},
                                   EventsOf<InspectorsSink>(0x00063079, inspectors));
                    }),
                Function("ActiveExplorer", kCall, "",
                         [a](auto&) { return ServeExplorer(a->ActiveExplorer()); }),
                Function("ActiveInspector", kCall, "",
                         [a](auto&) { return ServeInspector(a->ActiveInspector()); })},
               EventsOf<ApplicationSink>(0x0006304E, a));
}

namespace {

desk::OutlookModel* g_model = nullptr;

DispatchPtr ServeEntry(const platform::AddressEntryPtr& e) {
  if (!e) return nullptr;
  return Serve("AddressEntry",
               {Get("Name", [e] { return e->Name(); }),
                Get("Address", [e] { return e->Address(); }), Get("ID", [e] { return e->ID(); }),
                Function("Fields", kGet, "n", [e](auto& a) { return e->Fields(a.Number(0)); })});
}

DispatchPtr ServeRecipients(const platform::RecipientsPtr& all) {
  return Serve(
      "SafeRecipients",
      {Get("Count", [all] { return all->Count(); }), Function("Item", kGet, "n", [all](auto& a) {
         const auto r = all->Item(a.Number(0));
         return Serve(
             "SafeRecipient",
             {Get("Name", [r] { return r->Name(); }), Get("Address", [r] { return r->Address(); }),
              Get("EntryID", [r] { return Bytes(r->EntryID()); }),
              Get("AddressEntry", [r] { return ServeEntry(r->AddressEntry()); })});
       })});
}

DispatchPtr ServeSafeItem() {
  const auto s = g_model->Redemption().CreateSafeMailItem();
  return Serve(
      "SafeMailItem",
      {Put("Item", 'o',
           [s](auto& a) {
             s->SetItem(std::static_pointer_cast<desk::Item>(ModelOf(a[0].Object().Get())));
           }),
       Function("GetIDsFromNames", kCall, "ss",
                [s](auto& a) { return s->GetIDsFromNames(a.Text(0), a.Text(1)); }),
       Function("Fields", kGet, "n",
                [s](auto& a) {
                  const std::string text = s->Fields(a.Number(0));
                  return text.empty() ? Variant() : Variant(text);
                }),
       {"Fields", DISPATCH_PROPERTYPUT, "ns",
        [s](auto& a) {
          s->SetFields(a.Number(0), a.Text(1));
          return Variant();
        }},
       Method("Save", "", [s](auto&) { s->Save(); }),
       Get("SenderName", [s] { return s->SenderName(); }),
       Get("BCC", [s] { return s->BCC(); }),
       Get("Recipients", [s] { return ServeRecipients(s->Recipients()); })});
}

DispatchPtr ServeAddressLists() {
  const auto lists = g_model->Redemption().CreateAddressLists();
  return Serve("SafeAddressLists", {Get("Count", [lists] { return lists->Count(); }),
                                    Function("Item", kGet, "n", [lists](auto& a) {
                                      const auto list = lists->Item(a.Number(0));
                                      return Serve("AddressList", {Get("AddressEntries", [list] {
                                                     const auto e = list->AddressEntries();
                                                     return Serve(
                                                         "AddressEntries",
                                                         {Get("Count", [e] { return e->Count(); }),
                                                          Function("Item", kGet, "n", [e](auto& g) {
                                                            return ServeEntry(e->Item(g.Number(0)));
                                                          })});
                                                   })});
                                    })});
}

DispatchPtr ServeUtils() {
  const auto u = g_model->Redemption().CreateMAPIUtils();
  return Serve("MAPIUtils", {Function("GetAddressEntryFromID", kCall, "s", [u](auto& a) {
                 return ServeEntry(u->GetAddressEntryFromID(a.Text(0)));
               })});
}

DispatchPtr ServeSession() {
  const auto s = g_model->Cdo().CreateSession();
  return Serve("Session", {Method("Logon", "SSBBN", [s](auto& a) {
                 s->Logon(a.Text(0), a.Text(1), a.Flag(2), a.Flag(3), a.Number(4));
               })});
}

template <DispatchPtr (*kServe)()>
HRESULT Create(const IID& iid, void** object) noexcept {
  const HRESULT planned = TheLedger().Note("CoCreateInstance");
  if (FAILED(planned)) return planned;
  return com::Bordered(IID_NULL, L"", [&] { com::Check(kServe()->QueryInterface(iid, object)); });
}

constexpr CLSID ClassId(unsigned long number) {
  return {number, 0x51AD, 0x4E0C, {0x8B, 0x11, 0x77, 0x21, 0x6C, 0x0F, 0xA2, 0x35}};
}

const com::ComClass kClasses[] = {
    {ClassId(0xC0A10001), L"SfMl.SfMailItem", L"", Create<ServeSafeItem>},
    {ClassId(0xC0A10002), L"SfMl.SfAddressLists", L"", Create<ServeAddressLists>},
    {ClassId(0xC0A10003), L"SfMl.SfMAPIUtils", L"", Create<ServeUtils>},
    {ClassId(0xC0A10004), L"MAPI.Session", L"", Create<ServeSession>}};

}  // namespace

ServedLibraries::ServedLibraries(desk::OutlookModel& model,
                                 const std::vector<std::string>& missing) {
  g_model = &model;
  for (const com::ComClass& one : kClasses) {
    if (std::ranges::count(missing, win32::ShownUtf8(one.prog_id)) > 0) continue;
    wchar_t id[40];
    StringFromGUID2(one.clsid, id, 40);
    const std::wstring key = std::wstring(L"Software\\Classes\\") + one.prog_id + L"\\CLSID";
    RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), nullptr, REG_SZ, id,
                    static_cast<DWORD>(sizeof(wchar_t) * (wcslen(id) + 1)));
    Microsoft::WRL::ComPtr<IUnknown> factory;
    com::Check(com::GetClassFactory(kClasses, one.clsid, IID_IUnknown,
                                    reinterpret_cast<void**>(factory.GetAddressOf())));
    com::Check(CoRegisterClassObject(one.clsid, factory.Get(), CLSCTX_INPROC_SERVER,
                                     REGCLS_MULTIPLEUSE, &cookies_.emplace_back()));
  }
}

ServedLibraries::~ServedLibraries() {
  for (const DWORD cookie : cookies_) CoRevokeClassObject(cookie);
  g_model = nullptr;
}

}  // namespace corvessa::testing
