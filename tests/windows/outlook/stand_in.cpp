#include <algorithm>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
#include <windows.h>
// After what it needs.
#include <psapi.h>

#include "base/text.h"
#include "desk/outlook/outlook_model.h"
#include "idl/corvessa_pro_ol.h"
#include "idl/engine.h"
#include "settings/registry_values.h"
#include "settings/settings.h"
#include "win32/utf16.h"
#include "windows/com/bstr.h"
#include "windows/com/create.h"
#include "windows/com/dispatch.h"
#include "windows/com/errors.h"
#include "windows/outlook/counted_engine.h"
#include "windows/outlook/outlook_objects.h"
#include "windows/outlook/scripted_user.h"
#include "windows/system/clipboard.h"

// Outlook as far as an add-in can tell: takes one JSON object a line and answers one a line. Mail
// is plain data here; the program that starts this one reads and writes the files. See ./outlook.

namespace corvessa::testing {
namespace {

using Json = nlohmann::json;
using com::Variant;
using Microsoft::WRL::ComPtr;

constexpr UINT kLine = WM_APP;
constexpr UINT kEnd = WM_APP + 1;
constexpr auto kAddIn = L"CorvessaPro_OL.Connect";

std::string String(const Json& from, const char* key) {
  return from.value(key, std::string());
}

/// The session from connection to disconnection.
struct Session {
  explicit Session(const Json& command)
      : model({.version =
                   String(command, "version").empty() ? "9.0.0.2711" : String(command, "version"),
               .map_path =
                   [](std::string_view path) {
                     return std::filesystem::path(win32::ShownUtf16(path));
                   },
               .clipboard = &clipboard,
               .owner = {"Owner", String(command, "owner")}}),
        libraries(model) {
    model.AddExplorer();
    model.SetWordMail(command.value("word", false));
    application = ServeApplication(model);
    add_in = com::CreateByProgId<IDTExtensibility2>(kAddIn);
    // Connected while Outlook starts.
    add_in->OnConnection(application.Get(), 1, nullptr, nullptr);
    if (add_in) add_in->OnStartupComplete(nullptr);
  }
  /// Outlook's order at its end: windows first.
  void End() {
    if (!add_in) return;
    const auto open = model.Inspectors();
    for (const auto& window : open) model.Close(window);
    add_in->OnBeginShutdown(nullptr);
    add_in->OnDisconnection(0, nullptr);
    add_in.Reset();
    application.Reset();
  }

  windows::WindowsClipboard clipboard;
  desk::OutlookModel model;
  ServedLibraries libraries;
  CountedEngine engine;
  DispatchPtr application;
  ComPtr<IDTExtensibility2> add_in;
  std::map<int, desk::ItemPtr> windows;
  int last_window = 0;
};

class StandIn {
 public:
  Json Do(const Json& command);

 private:
  Session& Running() {
    if (!session_) Raise(kInvalidArgument, "not connected");
    return *session_;
  }
  desk::ItemPtr ItemOf(const Json& command) {
    const auto found = Running().windows.find(command.value("window", 0));
    if (found == Running().windows.end()) Raise(kInvalidArgument, "no such window");
    return found->second;
  }
  Json Run(const Json& command);
  Json CallCrypto(const Json& command);
  Json Connect(const Json& command);
  Json Disconnect();
  Json Open(const desk::ItemPtr& item);
  Json Click(const Json& command);
  Json Send(const Json& command);
  Json Close(const Json& command);
  Json Respond(const Json& command);
  Json SaveAttachment(const Json& command);
  Json Stats();
  desk::ItemData DataOf(const Json& mail);

  std::optional<Session> session_;
  ScriptedUser user_;
  /// Commands under way: a dialog of one lets others in.
  int depth_ = 0;
};

desk::ItemData StandIn::DataOf(const Json& mail) {
  desk::ItemData data;
  const auto add = [&](const char* key, desk::RecipientKind kind) {
    for (const Json& one : mail.value(key, Json::array())) {
      data.recipients.push_back({kind, String(one, "name"), String(one, "address")});
    }
  };
  add("to", desk::RecipientKind::kTo);
  add("cc", desk::RecipientKind::kCc);
  add("bcc", desk::RecipientKind::kBcc);
  if (mail.contains("from")) {
    data.sender = {String(mail["from"], "name"), String(mail["from"], "address")};
  }
  data.subject = String(mail, "subject");
  data.body = std::make_shared<const std::string>(String(mail, "body"));
  data.html = std::make_shared<const std::string>(String(mail, "html"));
  data.received_time = String(mail, "received");
  for (const auto& [name, value] : mail.value("fields", Json::object()).items()) {
    data.properties[{"{00020386-0000-0000-C000-000000000046}", name}] = value;
  }
  for (const Json& one : mail.value("attachments", Json::array())) {
    std::ifstream file(std::filesystem::path(win32::ShownUtf16(String(one, "path"))),
                       std::ios::binary);
    std::stringstream bytes;
    bytes << file.rdbuf();
    desk::AttachmentData attachment{String(one, "name"), String(one, "name"),
                                    Running().model.Keep(bytes.str())};
    data.attachments.push_back(std::make_shared<const desk::AttachmentData>(attachment));
  }
  return data;
}

Json MailOf(const desk::ItemData& data, const std::string& folder) {
  Json mail = {{"subject", data.subject},  {"body", *data.body},          {"html", *data.html},
               {"to", Json::array()},      {"cc", Json::array()},         {"bcc", Json::array()},
               {"fields", Json::object()}, {"attachments", Json::array()}};
  for (const auto& one : data.recipients) {
    const char* const key = one.kind == desk::RecipientKind::kTo   ? "to"
                            : one.kind == desk::RecipientKind::kCc ? "cc"
                                                                   : "bcc";
    mail[key].push_back({{"name", one.name}, {"address", one.address}});
  }
  for (const auto& [name, value] : desk::HeaderLines(data)) mail["fields"][name] = value;
  for (const auto& one : data.attachments) {
    const std::string path =
        folder + "\\" + std::to_string(mail["attachments"].size()) + ".attachment";
    if (!folder.empty()) one->content->WriteTo(std::filesystem::path(win32::ShownUtf16(path)));
    mail["attachments"].push_back({{"name", one->display_name},
                                   {"path", path},
                                   {"size", one->content ? one->content->Size() : 0}});
  }
  return mail;
}

Json BarsOf(const desk::Bars& bars) {
  Json all = Json::array();
  for (const auto& bar : bars.All()) {
    if (!bar->IsTemporary()) continue;
    Json buttons = Json::array();
    for (const auto& button : bar->Buttons()) {
      const auto& shown = button->Properties();
      buttons.push_back({{"caption", shown.caption},
                         // Office shows the caption of a button without one.
                         {"tooltip", shown.tooltip.empty() ? shown.caption : shown.tooltip},
                         {"state", shown.state},
                         {"enabled", shown.enabled}});
    }
    all.push_back({{"name", bar->NameText()}, {"buttons", buttons}});
  }
  return all;
}

Json StandIn::Connect(const Json& command) {
  if (session_) Raise(kInvalidArgument, "connected already");
  DWORD behavior = 0;
  DWORD size = sizeof behavior;
  const std::wstring key = L"Software\\Microsoft\\Office\\Outlook\\Addins\\" + std::wstring(kAddIn);
  RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), L"LoadBehavior", RRF_RT_REG_DWORD, nullptr,
               &behavior, &size);
  if (behavior != 3) Raise(kInvalidArgument, "no add-in is registered to be loaded at start");
  session_.emplace(command);
  const auto explorer = session_->model.Explorers().front();
  const auto button = explorer->Bars().FindTagged("CorvessaPro_OL.");
  return {{"button", button ? button->Properties().caption : ""},
          {"face", button && button->Properties().pasted_face},
          {"mask", button && button->Properties().pasted_mask}};
}

BOOL CALLBACK CountOwn(HWND window, LPARAM count) {
  wchar_t name[64] = {};
  GetClassNameW(window, name, 64);
  if (std::wstring_view(name).starts_with(L"Corvessa")) ++*reinterpret_cast<int*>(count);
  return TRUE;
}

Json StandIn::Disconnect() {
  Running().End();
  // Outlook quits; what waits for a dialog still uses the session.
  if (depth_ > 1) return {{"ended", true}};
  session_.reset();
  user_.ForgetAnswers();
  CoFreeUnusedLibrariesEx(0, 0);
  const HMODULE dll = GetModuleHandleW(L"CorvessaPro_OL.dll");
  int windows = 0;
  EnumThreadWindows(GetCurrentThreadId(), CountOwn, reinterpret_cast<LPARAM>(&windows));
  return {{"references", TheLedger().references},
          {"objects", TheLedger().objects},
          {"windows", windows},
          {"loaded", dll != nullptr}};
}

Json StandIn::Open(const desk::ItemPtr& item) {
  Session& session = Running();
  const auto window = session.model.Open(item);
  if (!window) return {{"cancelled", true}};
  session.windows[++session.last_window] = item;
  Json answer = MailOf(item->Data(), "");
  answer["window"] = session.last_window;
  answer["bars"] = BarsOf(window->Bars());
  return answer;
}

Json StandIn::Click(const Json& command) {
  const int window = command.value("window", 0);
  if (window == 0) {
    const auto explorer = Running().model.Explorers().front();
    return {{"clicked", desk::OutlookModel::Click(explorer->Bars(), String(command, "button"))}};
  }
  const auto item = ItemOf(command);
  const auto shown = item->WindowOrNew();
  const bool clicked = desk::OutlookModel::Click(shown->Bars(), String(command, "button"));
  Json answer = MailOf(item->Data(), "");
  answer["clicked"] = clicked;
  answer["bars"] = BarsOf(shown->Bars());
  return answer;
}

Json StandIn::Send(const Json& command) {
  const auto item = ItemOf(command);
  const auto sent = Running().model.Send(item);
  if (!sent) return {{"cancelled", true}, {"mail", MailOf(item->Data(), "")}};
  Running().windows.erase(command.value("window", 0));
  return {{"cancelled", false}, {"mail", MailOf(*sent, String(command, "folder"))}};
}

Json StandIn::Close(const Json& command) {
  const auto item = ItemOf(command);
  const auto window = item->Window();
  const bool closed = window && Running().model.Close(window);
  if (closed) Running().windows.erase(command.value("window", 0));
  return {{"closed", closed}, {"body", *item->Data().body}};
}

Json StandIn::Respond(const Json& command) {
  auto& model = Running().model;
  const auto original = ItemOf(command);
  const std::string kind = String(command, "do");
  const auto response = kind == "reply"       ? model.Reply(original)
                        : kind == "reply-all" ? model.ReplyAll(original)
                                              : model.Forward(original);
  if (!response) return {{"cancelled", true}};
  return Open(response);
}

Json StandIn::SaveAttachment(const Json& command) {
  const auto item = ItemOf(command);
  const int index = command.value("index", 0);
  Running().model.ReadAttachment(item, index);
  desk::MakeAttachment(item, index)->SaveAsFile(String(command, "path"));
  return Json::object();
}

Json StandIn::Stats() {
  Ledger& ledger = TheLedger();
  Json answer = {{"calls", ledger.calls},
                 {"references", ledger.references},
                 {"objects", ledger.objects},
                 {"failed", ledger.failed}};
  PROCESS_MEMORY_COUNTERS memory = {};
  K32GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory);
  answer["memory"] = memory.PagefileUsage;
  int total = 0;
  for (const auto& [call, count] : ledger.calls) total += count;
  answer["total"] = total;
  ledger.calls.clear();
  return answer;
}

/// Changes a setting of the add-in by its name.
Json Set(const Json& command) {
  const std::string name = String(command, "name");
  const std::string value = String(command, "value");
  const auto settings = StoredSettings();
  const auto found = std::ranges::find_if(settings, [&](auto& one) { return one.name == name; });
  if (found == settings.end()) Raise(kInvalidArgument, "no such setting");
  const HKEY root =
      found->root == SettingRoot::kLocalMachine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
  const std::wstring key = win32::ShownUtf16(found->key);
  const std::wstring text = win32::ShownUtf16(value);
  const auto number = static_cast<DWORD>(std::strtol(value.c_str(), nullptr, 10));
  const bool is_text = found->kind == SettingKind::kText;
  const LSTATUS status = RegSetKeyValueW(
      root, key.c_str(), win32::ShownUtf16(name).c_str(), is_text ? REG_SZ : REG_DWORD,
      is_text ? static_cast<const void*>(text.c_str()) : &number,
      is_text ? static_cast<DWORD>(2 * text.size() + 2) : sizeof number);
  com::Check(HRESULT_FROM_WIN32(status));
  return Json::object();
}

/// Secures an address, as the settings dialog stores it.
Json Account(const Json& command) {
  const std::wstring key =
      win32::ShownUtf16(std::string(kAccountsKey) + "\\" + String(command, "address"));
  const DWORD sign = command.value("sign", false) ? 1 : 0;
  com::Check(HRESULT_FROM_WIN32(
      RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), L"Sign", REG_DWORD, &sign, sizeof sign)));
  return Json::object();
}

/// Upkeep of the key rings through the engine component.
Json Key(const Json& command) {
  using com::Bstr;
  const auto upkeep = com::CreateByProgId<INimbraKeyUpkeep>(L"NimbraEncryptionEngine.Engine");
  LONG status = 0;
  Bstr text;
  const std::string action = String(command, "action");
  if (action == "generate") {
    com::Check(upkeep->GenerateKey(
        Bstr(String(command, "name")).Get(), Bstr(String(command, "address")).Get(),
        Bstr(String(command, "passphrase")).Get(), text.Receive(), &status));
  } else if (action == "export") {
    com::Check(
        upkeep->ExportPublicKeys(Bstr(String(command, "address")).Get(), text.Receive(), &status));
  } else if (action == "import") {
    const std::string keys = String(command, "keys");
    SAFEARRAY* const bytes = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(keys.size()));
    std::ranges::copy(keys, static_cast<char*>(bytes->pvData));
    ComPtr<IEngineStringVector> fingerprints;
    const HRESULT result = upkeep->ImportKeys(bytes, nullptr, fingerprints.GetAddressOf(), &status);
    SafeArrayDestroy(bytes);
    com::Check(result);
  } else {
    Raise(kInvalidArgument, "unknown action");
  }
  return {{"status", status}, {"text", text.Text()}};
}

/// What another program does with CryptoOperations and the attachments of a window's message.
Json StandIn::CallCrypto(const Json& command) {
  const com::Dispatch late(com::CreateByProgId<IDispatch>(L"CorvessaPro_OL.CryptoOperations"));
  ComPtr<ICryptoOperations> early;
  com::Check(late.Get()->QueryInterface(IID_PPV_ARGS(&early)));
  const Variant address(String(command, "address"));
  LONG answered = 0;
  com::Check(early->HasKeypair(address.Get().bstrVal, &answered));
  Json answer = {{"late", late.Call("HasKeypair", {address.Get()}).Number()}, {"early", answered}};
  if (!command.contains("window")) return answer;
  const com::Dispatch nodes(com::CreateByProgId<IDispatch>(L"CorvessaPro_OL.AttachmentNodes"));
  const Variant list(nodes.Get());
  const Variant item(ServeItem(ItemOf(command)).Get());
  VARIANT_BOOL stored = VARIANT_FALSE;
  com::Check(early->StoreAllAttachments(item.Get().pdispVal, nodes.Get(), VARIANT_FALSE, &stored));
  answer["stored"] = stored != VARIANT_FALSE;
  answer["names"] = Json::array();
  for (std::int32_t i = 1; i <= nodes.GetProperty("Count").Number(); ++i) {
    const com::Dispatch node(nodes.GetObjectProperty("Item", {Variant(i).Get()}));
    answer["names"].push_back(node.GetProperty("sDisplayName").Text());
  }
  late.Call("KillAllFiles", {list.Get()});
  answer["left"] = nodes.GetProperty("Count").Number();
  try {
    late.Call("KillAllFiles", {item.Get()});
  } catch (const Error& error) {
    answer["refused"] = error.number;
  }
  return answer;
}

Json StandIn::Do(const Json& command) {
  ++depth_;
  const std::shared_ptr<void> done(nullptr, [this](void*) { --depth_; });
  return Run(command);
}

Json StandIn::Run(const Json& command) {
  const std::string what = String(command, "do");
  if (what == "connect") return Connect(command);
  if (what == "disconnect") return Disconnect();
  if (what == "open") return Open(Running().model.AddReceived(DataOf(command.at("mail"))));
  if (what == "compose") {
    desk::ItemData data = DataOf(command.at("mail"));
    data.folder = desk::kDrafts;
    const auto item = Running().model.AddItem(std::move(data));
    if (!command.value("external", false)) return Open(item);
    Running().windows[++Running().last_window] = item;
    return {{"window", Running().last_window}};
  }
  if (what == "click") return Click(command);
  if (what == "send") return Send(command);
  if (what == "close") return Close(command);
  if (what == "reply" || what == "reply-all" || what == "forward") return Respond(command);
  if (what == "save-attachment") return SaveAttachment(command);
  if (what == "stats") return Stats();
  if (what == "crypto") return CallCrypto(command);
  if (what == "set") return Set(command);
  if (what == "account") return Account(command);
  if (what == "key") return Key(command);
  if (what == "fail") {
    TheLedger().fails_after = command.value("call", 0);
    TheLedger().failures = command.value("times", 1);
    TheLedger().failed.clear();
    TheLedger().failure =
        static_cast<HRESULT>(std::stoul(command.value("hresult", "0x80004005"), nullptr, 16));
    return Json::object();
  }
  if (what == "answer") {
    user_.Queue({String(command, "form"),
                 command.value("set", std::map<std::string, std::string>()),
                 String(command, "press")});
    return Json::object();
  }
  if (what == "boxes") {
    Json boxes = Json::array();
    for (const auto& box : user_.TakeBoxes()) {
      boxes.push_back({{"form", box.form}, {"text", box.text}, {"answer", box.answer}});
    }
    return {{"boxes", boxes}};
  }
  Raise(kInvalidArgument, "unknown command");
}

/// Commands come in as messages, as a user's input does, so that dialogs let them in too; those
/// that do not say "now" wait until the one that runs is done.
class CommandLoop {
 public:
  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM word, LPARAM data) {
    if (message == kEnd) PostQuitMessage(0);
    if (message != kLine) return DefWindowProcW(window, message, word, data);
    const std::unique_ptr<Json> command(reinterpret_cast<Json*>(data));
    if (depth_ > 0 && !command->value("now", false)) {
      waiting_.push_back(*command);
      return 0;
    }
    Run(*command);
    while (depth_ == 0 && !waiting_.empty()) {
      const Json next = waiting_.front();
      waiting_.erase(waiting_.begin());
      Run(next);
    }
    return 0;
  }

  static inline StandIn* stand_in_ = nullptr;

 private:
  static void Run(const Json& command) {
    ++depth_;
    Json answer;
    try {
      answer = stand_in_->Do(command);
      if (!answer.contains("boxes")) answer["boxes"] = stand_in_->Do({{"do", "boxes"}})["boxes"];
    } catch (const Error& error) {
      answer = {{"error", error.description}, {"number", error.number}};
    } catch (const std::exception& failure) {
      answer = {{"error", failure.what()}};
    }
    --depth_;
    if (command.contains("id")) answer["id"] = command["id"];
    std::cout << answer.dump(-1, ' ', true, Json::error_handler_t::replace) << std::endl;
  }

  static inline int depth_ = 0;
  static inline std::vector<Json> waiting_;
};

void ReadCommands(HWND window) {
  for (std::string line; std::getline(std::cin, line);) {
    Json command = Json::parse(line, nullptr, false);
    if (!command.is_object()) command = {{"do", "nothing"}};
    PostMessageW(window, kLine, 0, reinterpret_cast<LPARAM>(new Json(std::move(command))));
  }
  PostMessageW(window, kEnd, 0, 0);
}

int Main() {
  com::Check(OleInitialize(nullptr));
  TheLedger();
  WNDCLASSW window_class = {};
  window_class.lpfnWndProc = CommandLoop::Procedure;
  window_class.lpszClassName = L"StandIn";
  RegisterClassW(&window_class);
  const HWND window = CreateWindowExW(0, L"StandIn", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                      nullptr, nullptr);
  {
    StandIn stand_in;
    CommandLoop::stand_in_ = &stand_in;
    std::thread reader(ReadCommands, window);
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
    reader.join();
  }
  OleUninitialize();
  return 0;
}

}  // namespace
}  // namespace corvessa::testing

int main() {
  return corvessa::testing::Main();
}
